// fido2_user_confirmation_dialog.h: asks the user to confirm or deny what a security key was asked to do.
#pragma once

#include "fido2/file/fido2_environment.h"

#include <QDialog>
#include <QJsonObject>
#include <QTimer>

class QCheckBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QTextEdit;

/// Modal. Everything in `request` comes from outside and may be missing, huge or misleading.
class Fido2UserConfirmationDialog : public QDialog
{
    Q_OBJECT

public:
    Fido2UserConfirmationDialog(const QString& operation, const QJsonObject& request, QWidget* parent = nullptr,
                                Fido2Environment environment = Fido2Environment::ofThisProgram());

    /// Tells which key asks, by what its own record says of it (empty: nothing is known), and for how long it has been
    /// asking, kept up to date.
    void showAsker(const QString& key, qint64 processId, const QDateTime& since);

    /// The process has ended: says so, and leaves nothing to confirm.
    void showAskerGone();

    /// Closing the dialog without a button denies, once.
    void reject() override;

signals:
    /// Emitted exactly once, before the dialog closes.
    void userConfirmed(bool confirmed, const QJsonObject& result);

public slots:
    void onConfirm();
    void onDeny();
    void onShowDetails();

private:
    QTextEdit* buildDetails();
    void buildCredentialList();
    void buildDescriptionField();
    QWidget* buildButtons();
    void showCandidate(const QListWidgetItem* item); ///< nothing for null
    void answer(bool confirmed, const QJsonObject& result);

    QString m_operation;
    QJsonObject m_data;
    Fido2Environment m_environment;
    bool m_answered = false;
    QLabel* m_asker = nullptr; ///< hidden until there is something to tell
    QTimer m_age;
    QPushButton* m_confirm = nullptr;
    QCheckBox* m_remember = nullptr;
    QListWidget* m_candidates = nullptr; ///< null without candidates
    QLineEdit* m_description = nullptr;  ///< null unless a description may be typed
};
