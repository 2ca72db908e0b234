// credential_edit_dialog.h: adds or edits one credential of a credentials file.
#pragma once

#include "fido2/fido2_environment.h"
#include "ui/prompter.h"

#include <QDialog>
#include <QJsonObject>

class QCheckBox;
class QLineEdit;
class QSpinBox;

class CredentialEditDialog : public QDialog
{
    Q_OBJECT

public:
    /// `isNew` sets the title, and that accepting writes the time of creation.
    explicit CredentialEditDialog(bool isNew, QWidget* parent = nullptr,
                                  Fido2Environment environment = Fido2Environment::ofThisProgram(),
                                  Prompter& prompter = systemPrompter());

    /// Fills the fields. Members that have no field stay in the result.
    void setCredential(const QJsonObject& credential);

    /// The edited object, after the dialog was accepted.
    QJsonObject credential() const { return m_credential; }

public slots:
    void onSave();
    void onCancel();

private:
    QWidget* buildFields();
    QLayout* buildButtons();
    bool validate();
    void writeFields();

    Fido2Environment m_environment;
    Prompter& m_prompter;
    QJsonObject m_credential;
    bool m_isNew;
    QLineEdit* m_id = nullptr;
    QLineEdit* m_type = nullptr;
    QSpinBox* m_signatureCount = nullptr;
    QLineEdit* m_rpId = nullptr;
    QLineEdit* m_rpName = nullptr;
    QLineEdit* m_userName = nullptr;
    QLineEdit* m_userId = nullptr;
    QLineEdit* m_displayName = nullptr;
    QLineEdit* m_privateKeyFile = nullptr;
    QLineEdit* m_publicKeyFile = nullptr;
    QLineEdit* m_description = nullptr;
    QLineEdit* m_createdAt = nullptr;
    QCheckBox* m_residentKey = nullptr;
    QLineEdit* m_transports = nullptr;
};
