// credential_edit_dialog.h: adds or edits one credential of a credentials file.
#pragma once

#include "fido2/file/fido2_environment.h"
#include "ui/prompter.h"

#include <QDialog>
#include <QJsonObject>
#include <QSet>

#include <vector>

class QCheckBox;
class QFormLayout;
class QLabel;
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

    /// Fills the fields. Members that have no field stay in the result, and so does what a field cannot show (a counter
    /// above its range, a list) unless the user changes that field.
    void setCredential(const QJsonObject& credential);

    /// Comparable ids (fido2/file/credential_ids.h) of the others in the file; the user is warned of a repeated one.
    void setOtherIds(const QSet<QString>& ids);

    /// The edited object, after the dialog was accepted.
    QJsonObject credential() const { return m_credential; }

public slots:
    void onSave();
    void onCancel();

private:
    struct TextMember
    {
        QLineEdit* field;
        const char* group; ///< "rp", "user", or null for a member of the credential itself
        const char* key;
    };

    std::vector<TextMember> textMembers() const;
    QWidget* buildFields();
    QWidget* buildKeyFiles();
    QLineEdit* addKeyFile(QFormLayout* form, const QString& label, const QString& placeholder,
                          const QString& chooserTitle, const char* objectName);
    QLayout* buildButtons();
    bool validate();
    /// What a key makes of the ids; nothing of it keeps the user from saving.
    void showHint();
    void writeFields();

    Fido2Environment m_environment;
    Prompter& m_prompter;
    QJsonObject m_credential;
    QSet<QString> m_otherIds;
    bool m_isNew;
    int m_shownSignatureCount = 0; ///< as it was filled in
    bool m_shownResidentKey = false;
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
    QLabel* m_hint = nullptr;
};
