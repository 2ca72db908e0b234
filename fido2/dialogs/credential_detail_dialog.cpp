#include "fido2/dialogs/credential_detail_dialog.h"

#include "fido2/dialogs/credential_texts.h"
#include "runtime/shown_text.h"
#include "ui/dialog_parts.h"
#include "ui/form_rows.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QString text(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toString();
}

/// The member at the top, or the one in the nested object when that is empty.
QString flatOrNested(const QJsonObject& credential, const char* flat, const char* outer, const char* inner)
{
    const QString value = text(credential, flat);
    return value.isEmpty() ? text(credential.value(QLatin1String(outer)).toObject(), inner) : value;
}

QString signatureCount(const QJsonObject& credential)
{
    const QString key = QStringLiteral("sigCnt");
    const QString count =
        numberText(credential.value(credential.contains(key) ? key : QStringLiteral("signatureCounter")));
    return count.isEmpty() ? QStringLiteral("0") : count;
}

void addField(QFormLayout* form, const QString& label, const QString& objectName, const QString& value)
{
    QLineEdit* field = makeReadOnlyField(objectName);
    showValue(field, shownText(value));
    form->addRow(label, field);
}

} // namespace

CredentialDetailDialog::CredentialDetailDialog(const QJsonObject& credential, QWidget* parent) : QDialog(parent)
{
    setWindowTitle(tr("Credential Details"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    setAttribute(Qt::WA_DeleteOnClose);
    auto* fields = new QWidget;
    auto* layout = new QVBoxLayout(fields);
    layout->setContentsMargins(0, 0, 0, 0);
    QFormLayout* form = nullptr;

    layout->addWidget(makeFormGroup(tr("Basic Information"), &form));
    addField(form, tr("Credential ID:"), QStringLiteral("id"), text(credential, "id"));
    addField(form, tr("Index:"), QStringLiteral("index"), numberText(credential.value(QStringLiteral("index"))));
    addField(form, tr("Type:"), QStringLiteral("type"), text(credential, "type"));
    addField(form, tr("Description:"), QStringLiteral("description"), text(credential, "description"));
    addField(form, tr("Created At:"), QStringLiteral("createdAt"), text(credential, "createdAt"));
    addField(form, tr("Signature Count:"), QStringLiteral("sigCnt"), signatureCount(credential));
    addField(form, tr("Supports Resident Key:"), QStringLiteral("supportsResidentKey"),
             yesOrNo(credential.value(QStringLiteral("supportsResidentKey")).toBool()));

    layout->addWidget(makeFormGroup(tr("Relying Party Information"), &form));
    addField(form, tr("RP ID:"), QStringLiteral("rpId"), flatOrNested(credential, "rpId", "rp", "id"));
    addField(form, tr("RP Name:"), QStringLiteral("rpName"), flatOrNested(credential, "rpName", "rp", "name"));

    layout->addWidget(makeFormGroup(tr("User Information"), &form));
    addField(form, tr("Username:"), QStringLiteral("userName"), flatOrNested(credential, "userName", "user", "name"));
    addField(form, tr("User ID:"), QStringLiteral("userId"), flatOrNested(credential, "userId", "user", "id"));
    addField(form, tr("Display Name:"), QStringLiteral("displayName"),
             flatOrNested(credential, "userDisplayName", "user", "displayName"));

    layout->addWidget(makeFormGroup(tr("Key Files"), &form));
    for (const auto& [label, key] :
         {std::pair(tr("Private Key File:"), "privateKeyFile"), std::pair(tr("Public Key File:"), "publicKeyFile")}) {
        const QString file = text(credential, key);
        addField(form, label, QLatin1String(key), file.isEmpty() ? tr("Not available") : file);
    }

    auto* window = new QVBoxLayout(this);
    alignFormLabels(*fields);
    window->addWidget(makeScrollable(fields));
    QPushButton* close = makeColoredButton(tr("Close"), ButtonColor::Grey);
    close->setObjectName(QStringLiteral("close"));
    window->addLayout(makeButtonRow({close}));
    connect(close, &QPushButton::clicked, this, &CredentialDetailDialog::onClose);
    constexpr int kWidth = 600;
    resizeOnScreen(*this, sizeHint().expandedTo({kWidth, 0}));
    close->setFocus();
}

void CredentialDetailDialog::onClose()
{
    close();
}
