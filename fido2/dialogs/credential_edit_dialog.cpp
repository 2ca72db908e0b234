#include "fido2/dialogs/credential_edit_dialog.h"

#include "fido2/file/credential_ids.h"
#include "runtime/shown_text.h"
#include "ui/dialog_parts.h"
#include "ui/file_drop.h"
#include "ui/form_rows.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
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
    widenFor(line, placeholder);
    line->setMaxLength(kLongestField);
    form->addRow(label, line);
    return line;
}

/// What to write for a member: what its field holds, unless the user left alone a field that could not show the member.
QJsonValue valueToWrite(const QJsonValue& stored, bool untouched, bool shown, const QJsonValue& held)
{
    return untouched && !shown && !stored.isUndefined() ? stored : held;
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

    layout->addWidget(buildKeyFiles());

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

QWidget* CredentialEditDialog::buildKeyFiles()
{
    QFormLayout* form = nullptr;
    QGroupBox* group = makeFormGroup(tr("Key Files"), &form);
    m_privateKeyFile = addKeyFile(form, tr("Private Key File:"), tr("Enter private key file path"),
                                  tr("Select Private Key File"), "privateKeyFile");
    m_publicKeyFile = addKeyFile(form, tr("Public Key File:"), tr("Enter public key file path"),
                                 tr("Select Public Key File"), "publicKeyFile");
    return group;
}

QLineEdit* CredentialEditDialog::addKeyFile(QFormLayout* form, const QString& label, const QString& placeholder,
                                            const QString& chooserTitle, const char* objectName)
{
    auto* line = named(objectName, new QLineEdit);
    line->setPlaceholderText(placeholder);
    line->setMaxLength(kLongestField);
    auto* browse = makePlainButton(tr("Browse..."));
    browse->setObjectName(QStringLiteral("browse_") + line->objectName());
    addFormRow(form, label, {line, browse}, line);
    connect(browse, &QPushButton::clicked, this, [this, line, chooserTitle] {
        const QString chosen =
            m_prompter.openFile(this, chooserTitle, m_environment.directory(), tr("Key Files (*.pem);;All Files (*)"));
        if (!chosen.isEmpty())
            line->setText(chosen);
    });
    takeDroppedFile(*line, [line](const QString& path) { line->setText(path); });
    return line;
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
    m_hint = named("hint", new QLabel);
    m_hint->setWordWrap(true);
    m_hint->setStyleSheet(QStringLiteral("color: #b3261e;"));
    for (const QLineEdit* field : {m_id, m_userId})
        connect(field, &QLineEdit::textChanged, this, &CredentialEditDialog::showHint);
    auto* row = new QHBoxLayout;
    row->addWidget(m_hint, 1);
    row->addLayout(makeButtonRow({save, cancel}));
    return row;
}

void CredentialEditDialog::setOtherIds(const QSet<QString>& ids)
{
    m_otherIds = ids;
    showHint();
}

void CredentialEditDialog::showHint()
{
    QStringList hints;
    const QString id = m_id->text().trimmed();
    const QString userId = m_userId->text().trimmed();
    if (!id.isEmpty() && !isHexadecimalId(id))
        hints << tr("The credential ID is not hexadecimal: a key leaves this credential out.");
    if (!id.isEmpty() && m_otherIds.contains(comparableId(id)))
        hints << tr("Another credential has this ID.");
    if (!userId.isEmpty() && !isHexadecimalId(userId))
        hints << tr("The user ID is not hexadecimal: its letters stand for themselves.");
    m_hint->setText(hints.join(QLatin1Char(' ')));
}

std::vector<CredentialEditDialog::TextMember> CredentialEditDialog::textMembers() const
{
    return {
        {m_id, nullptr, "id"},
        {m_type, nullptr, "type"},
        {m_rpId, "rp", "id"},
        {m_rpName, "rp", "name"},
        {m_userName, "user", "name"},
        {m_userId, "user", "id"},
        {m_displayName, "user", "displayName"},
        {m_privateKeyFile, nullptr, "privateKeyFile"},
        {m_publicKeyFile, nullptr, "publicKeyFile"},
        {m_description, nullptr, "description"},
        {m_transports, nullptr, "transports"},
    };
}

void CredentialEditDialog::setCredential(const QJsonObject& credential)
{
    m_credential = credential;
    for (const auto& [field, group, key] : textMembers()) {
        const QJsonObject holder = group ? credential.value(QLatin1String(group)).toObject() : credential;
        field->setText(holder.value(QLatin1String(key)).toString());
        field->setCursorPosition(0);
    }
    m_createdAt->setText(credential.value(QStringLiteral("createdAt")).toString());
    const double count = numberText(credential.value(QStringLiteral("sigCnt"))).toDouble();
    m_signatureCount->setValue(static_cast<int>(qBound(0.0, count, double(kMostSignatures))));
    m_shownSignatureCount = m_signatureCount->value();
    m_residentKey->setChecked(credential.value(QStringLiteral("supportsResidentKey")).toBool());
    m_shownResidentKey = m_residentKey->isChecked();
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
    for (const auto& [field, group, key] : textMembers()) {
        QJsonObject holder = group ? m_credential.value(QLatin1String(group)).toObject() : m_credential;
        const QJsonValue stored = holder.value(QLatin1String(key));
        holder.insert(QLatin1String(key), valueToWrite(stored, !field->isModified() && field->text().isEmpty(),
                                                       stored.isString(), field->text().trimmed()));
        if (group)
            m_credential.insert(QLatin1String(group), holder);
        else
            m_credential = holder;
    }
    const QJsonValue count = m_credential.value(QStringLiteral("sigCnt"));
    m_credential.insert(QStringLiteral("sigCnt"),
                        valueToWrite(count, m_signatureCount->value() == m_shownSignatureCount,
                                     numberText(count).toDouble() == m_shownSignatureCount, m_signatureCount->value()));
    const QJsonValue resident = m_credential.value(QStringLiteral("supportsResidentKey"));
    m_credential.insert(QStringLiteral("supportsResidentKey"),
                        valueToWrite(resident, m_residentKey->isChecked() == m_shownResidentKey, resident.isBool(),
                                     m_residentKey->isChecked()));
    if (const QString createdAt = m_createdAt->text().trimmed(); !createdAt.isEmpty())
        m_credential.insert(QStringLiteral("createdAt"), createdAt);
    if (m_isNew)
        m_credential.insert(QStringLiteral("createdAt"), m_environment.timeText());
}
