#include "fido2/credential_edit_dialog.h"

#include "fido2/dialog_parts.h"
#include "fido2/shown_text.h"
#include "ui/form_labels.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

constexpr int kMostSignatures = 999999;
constexpr int kLongestField = 1024 * 1024;

QLineEdit* addLine(QFormLayout* form, const QString& label, const QString& placeholder, const QString& objectName)
{
    auto* line = new QLineEdit;
    line->setObjectName(objectName);
    line->setPlaceholderText(placeholder);
    line->setMaxLength(kLongestField);
    form->addRow(label, line);
    return line;
}

void showMember(QLineEdit* line, const QJsonObject& object, const char* key)
{
    line->setText(object.value(QLatin1String(key)).toString());
    line->setCursorPosition(0);
}

} // namespace

CredentialEditDialog::CredentialEditDialog(bool isNew, QWidget* parent, Fido2Environment environment,
                                           Prompter& prompter)
    : QDialog(parent)
    , m_environment(std::move(environment))
    , m_prompter(prompter)
    , m_isNew(isNew)
{
    setWindowTitle(isNew ? tr("Add New Credential") : tr("Edit Credential"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto* layout = new QVBoxLayout(this);
    QWidget* fields = buildFields();
    alignFormLabels(*fields);
    layout->addWidget(makeScrollable(fields));
    layout->addLayout(buildButtons());
    constexpr int kWidth = 600;
    resizeOnScreen(*this, sizeHint().expandedTo({kWidth, 0}));
}

QWidget* CredentialEditDialog::buildFields()
{
    auto* fields = new QWidget;
    auto* layout = new QVBoxLayout(fields);
    layout->setContentsMargins(0, 0, 0, 0);
    QFormLayout* form = nullptr;

    layout->addWidget(makeFormGroup(tr("Basic Information"), &form));
    m_id = addLine(form, tr("Credential ID:"), tr("Enter credential ID (hex string)"), QStringLiteral("id"));
    m_type = addLine(form, tr("Type:"), tr("Enter credential type"), QStringLiteral("type"));
    m_type->setText(QStringLiteral("public-key"));
    m_signatureCount = new QSpinBox;
    m_signatureCount->setObjectName(QStringLiteral("sigCnt"));
    m_signatureCount->setRange(0, kMostSignatures);
    form->addRow(tr("Signature Count:"), m_signatureCount);

    layout->addWidget(makeFormGroup(tr("Relying Party Information"), &form));
    m_rpId = addLine(form, tr("RP ID:"), tr("Enter relying party ID (e.g., example.com)"), QStringLiteral("rpId"));
    m_rpName = addLine(form, tr("RP Name:"), tr("Enter relying party name"), QStringLiteral("rpName"));

    layout->addWidget(makeFormGroup(tr("User Information"), &form));
    m_userName = addLine(form, tr("Username:"), tr("Enter username"), QStringLiteral("userName"));
    m_userId = addLine(form, tr("User ID:"), tr("Enter user ID (hex string)"), QStringLiteral("userId"));
    m_displayName = addLine(form, tr("Display Name:"), tr("Enter user display name"), QStringLiteral("displayName"));

    layout->addWidget(makeFormGroup(tr("Key Files"), &form));
    m_privateKeyFile =
        addLine(form, tr("Private Key File:"), tr("Enter private key file path"), QStringLiteral("privateKeyFile"));
    m_publicKeyFile =
        addLine(form, tr("Public Key File:"), tr("Enter public key file path"), QStringLiteral("publicKeyFile"));

    layout->addWidget(makeFormGroup(tr("Description"), &form));
    m_description =
        addLine(form, tr("Description:"), tr("Enter credential description (optional)"), QStringLiteral("description"));
    m_createdAt = makeReadOnlyField(QStringLiteral("createdAt"));
    m_createdAt->setPlaceholderText(tr("Auto-generated when credential is created"));
    form->addRow(tr("Created At:"), m_createdAt);

    layout->addWidget(makeFormGroup(tr("Advanced Options"), &form));
    m_residentKey = new QCheckBox(tr("Supports Resident Key (Passwordless Login)"));
    m_residentKey->setObjectName(QStringLiteral("supportsResidentKey"));
    form->addRow(tr("Resident Key:"), m_residentKey);
    m_transports =
        addLine(form, tr("Transports:"), tr("Enter transports (e.g., usb, nfc, ble)"), QStringLiteral("transports"));
    return fields;
}

QLayout* CredentialEditDialog::buildButtons()
{
    auto* save = new QPushButton(tr("Save"));
    save->setObjectName(QStringLiteral("save"));
    save->setDefault(true);
    auto* cancel = makePlainButton(tr("Cancel"));
    cancel->setObjectName(QStringLiteral("cancel"));
    connect(save, &QPushButton::clicked, this, &CredentialEditDialog::onSave);
    connect(cancel, &QPushButton::clicked, this, &CredentialEditDialog::onCancel);
    return makeButtonRow({save, cancel});
}

void CredentialEditDialog::setCredential(const QJsonObject& credential)
{
    m_credential = credential;
    const QJsonObject rp = credential.value(QStringLiteral("rp")).toObject();
    const QJsonObject user = credential.value(QStringLiteral("user")).toObject();
    showMember(m_id, credential, "id");
    showMember(m_type, credential, "type");
    const double count = numberText(credential.value(QStringLiteral("sigCnt"))).toDouble();
    m_signatureCount->setValue(static_cast<int>(qBound(0.0, count, double(kMostSignatures))));
    showMember(m_rpId, rp, "id");
    showMember(m_rpName, rp, "name");
    showMember(m_userName, user, "name");
    showMember(m_userId, user, "id");
    showMember(m_displayName, user, "displayName");
    showMember(m_privateKeyFile, credential, "privateKeyFile");
    showMember(m_publicKeyFile, credential, "publicKeyFile");
    showMember(m_description, credential, "description");
    showMember(m_createdAt, credential, "createdAt");
    m_residentKey->setChecked(credential.value(QStringLiteral("supportsResidentKey")).toBool());
    showMember(m_transports, credential, "transports");
}

void CredentialEditDialog::onSave()
{
    if (!validate())
        return;
    writeFields();
    accept();
}

void CredentialEditDialog::onCancel()
{
    reject();
}

bool CredentialEditDialog::validate()
{
    const struct
    {
        QLineEdit* field;
        QString complaint;
    } required[] = {
        {m_id, tr("Credential ID is required")},
        {m_rpId, tr("RP ID is required")},
        {m_userName, tr("Username is required")},
        {m_userId, tr("User ID is required")},
    };
    for (const auto& [field, complaint] : required) {
        if (!field->text().trimmed().isEmpty())
            continue;
        m_prompter.warning(this, tr("Validation Error"), complaint);
        field->setFocus();
        return false;
    }
    return true;
}

void CredentialEditDialog::writeFields()
{
    QJsonObject rp = m_credential.value(QStringLiteral("rp")).toObject();
    rp.insert(QStringLiteral("id"), m_rpId->text().trimmed());
    rp.insert(QStringLiteral("name"), m_rpName->text().trimmed());
    QJsonObject user = m_credential.value(QStringLiteral("user")).toObject();
    user.insert(QStringLiteral("name"), m_userName->text().trimmed());
    user.insert(QStringLiteral("id"), m_userId->text().trimmed());
    user.insert(QStringLiteral("displayName"), m_displayName->text().trimmed());

    m_credential.insert(QStringLiteral("id"), m_id->text().trimmed());
    m_credential.insert(QStringLiteral("type"), m_type->text().trimmed());
    m_credential.insert(QStringLiteral("sigCnt"), m_signatureCount->value());
    m_credential.insert(QStringLiteral("rp"), rp);
    m_credential.insert(QStringLiteral("user"), user);
    m_credential.insert(QStringLiteral("privateKeyFile"), m_privateKeyFile->text().trimmed());
    m_credential.insert(QStringLiteral("publicKeyFile"), m_publicKeyFile->text().trimmed());
    m_credential.insert(QStringLiteral("description"), m_description->text().trimmed());
    if (const QString createdAt = m_createdAt->text().trimmed(); !createdAt.isEmpty())
        m_credential.insert(QStringLiteral("createdAt"), createdAt);
    m_credential.insert(QStringLiteral("supportsResidentKey"), m_residentKey->isChecked());
    m_credential.insert(QStringLiteral("transports"), m_transports->text().trimmed());
    if (m_isNew)
        m_credential.insert(QStringLiteral("createdAt"), m_environment.timeText());
}
