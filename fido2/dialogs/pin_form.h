// pin_form.h: the group in which a security key's PIN is typed, with what is known of the PIN it has.
#pragma once

#include "fido2/file/credentials_file.h"
#include "fido2/file/pin.h"

#include <QGroupBox>

class QLabel;
class QLineEdit;
class QPushButton;

/// The PIN itself is never shown unless the user asks to see what they type. Found by the object names "pin",
/// "confirmPin", "reveal", "pinState", "pinHint" and "setPin".
class PinForm : public QGroupBox
{
    Q_OBJECT

public:
    explicit PinForm(QWidget* parent = nullptr);

    QString pin() const;
    PinCheck check() const;

    void showState(const PinState& state);

    /// Gives the focus to the field that `check` is about; to none for PinCheck::Ok.
    void correct(PinCheck check);

    /// Forgets what was typed, beyond undoing, and hides what is typed next.
    void clear();

signals:
    /// By the button, or by Enter in a field.
    void setRequested();

private:
    void reveal(bool shown);
    void showHint();

    QLabel* m_state = nullptr;
    QLineEdit* m_pin = nullptr;
    QLineEdit* m_confirmation = nullptr;
    QPushButton* m_reveal = nullptr;
    QLabel* m_hint = nullptr;
};
