#include "fido2/dialogs/credential_texts.h"

#include "runtime/shown_text.h"

#include <QCoreApplication>

#include <algorithm>
#include <initializer_list>

namespace {

struct CredentialTexts
{
    Q_DECLARE_TR_FUNCTIONS(CredentialTexts)
};

QString notAvailable()
{
    return CredentialTexts::tr("N/A");
}

QString signatureCount(const QJsonValue& value)
{
    const QString text = shownText(numberText(value));
    return text.isEmpty() ? notAvailable() : text;
}

QString keyFiles(const QJsonObject& credential)
{
    const QJsonValue privateKey = credential.value(QStringLiteral("privateKeyFile"));
    const QJsonValue publicKey = credential.value(QStringLiteral("publicKeyFile"));
    if (!privateKey.isString() && !publicKey.isString())
        return notAvailable();
    QStringList parts;
    if (!privateKey.toString().isEmpty())
        parts << CredentialTexts::tr("私钥: ") + shownText(privateKey.toString());
    if (!publicKey.toString().isEmpty())
        parts << CredentialTexts::tr("公钥: ") + shownText(publicKey.toString());
    return parts.join(QLatin1Char('\n'));
}

QString summaryOf(const QJsonObject& credential, int number)
{
    const QJsonObject rp = credential.value(QStringLiteral("rp")).toObject();
    const QJsonObject user = credential.value(QStringLiteral("user")).toObject();
    const QString count = numberText(credential.value(QStringLiteral("sigCnt")));
    QString text = CredentialTexts::tr("Credential %1:\n").arg(number);
    text += CredentialTexts::tr("  RP ID: %1\n").arg(textOrNotAvailable(rp.value(QStringLiteral("id"))));
    text += CredentialTexts::tr("  RP Name: %1\n").arg(textOrNotAvailable(rp.value(QStringLiteral("name"))));
    text += CredentialTexts::tr("  Username: %1\n").arg(textOrNotAvailable(user.value(QStringLiteral("name"))));
    text +=
        CredentialTexts::tr("  Display Name: %1\n").arg(textOrNotAvailable(user.value(QStringLiteral("displayName"))));
    text += CredentialTexts::tr("  Description: %1\n")
                .arg(textOrNotAvailable(credential.value(QStringLiteral("description"))));
    text += CredentialTexts::tr("  Created At: %1\n")
                .arg(textOrNotAvailable(credential.value(QStringLiteral("createdAt"))));
    text += CredentialTexts::tr("  Supports Resident Key: %1\n")
                .arg(yesOrNo(credential.value(QStringLiteral("supportsResidentKey")).toBool()));
    text +=
        CredentialTexts::tr("  Signature Count: %1\n").arg(count.isEmpty() ? QStringLiteral("0") : shownText(count));
    return text;
}

} // namespace

QStringList credentialColumnTitles()
{
    return {CredentialTexts::tr("Credential ID"),   CredentialTexts::tr("RP ID"),
            CredentialTexts::tr("RP Name"),         CredentialTexts::tr("Username"),
            CredentialTexts::tr("User ID"),         CredentialTexts::tr("Description"),
            CredentialTexts::tr("Created At"),      CredentialTexts::tr("Supports Resident Key"),
            CredentialTexts::tr("Signature Count"), CredentialTexts::tr("Key Files")};
}

QStringList credentialRow(const QJsonObject& credential)
{
    const QJsonObject rp = credential.value(QStringLiteral("rp")).toObject();
    const QJsonObject user = credential.value(QStringLiteral("user")).toObject();
    const QJsonValue residentKey = credential.value(QStringLiteral("supportsResidentKey"));
    return {textOrNotAvailable(credential.value(QStringLiteral("id"))),
            textOrNotAvailable(rp.value(QStringLiteral("id"))),
            textOrNotAvailable(rp.value(QStringLiteral("name"))),
            textOrNotAvailable(user.value(QStringLiteral("name"))),
            textOrNotAvailable(user.value(QStringLiteral("id"))),
            textOrNotAvailable(credential.value(QStringLiteral("description"))),
            textOrNotAvailable(credential.value(QStringLiteral("createdAt"))),
            residentKey.isBool() ? yesOrNo(residentKey.toBool()) : notAvailable(),
            signatureCount(credential.value(QStringLiteral("sigCnt"))),
            keyFiles(credential)};
}

QString credentialSummary(const QString& path, const QJsonArray& credentials)
{
    QString text = CredentialTexts::tr("Total Credentials: %1\n").arg(credentials.size());
    text += CredentialTexts::tr("Credentials File: %1\n\n").arg(path);
    int number = 0;
    for (const QJsonValue& credential : credentials) {
        if (number == kMostShownItems)
            break;
        if (number > 0)
            text += QLatin1Char('\n');
        text += summaryOf(credential.toObject(), ++number);
    }
    return text + notShownText(credentials.size());
}

QString notShownText(int total)
{
    const int hidden = total - kMostShownItems;
    return hidden > 0 ? CredentialTexts::tr("%1 more are not shown").arg(hidden) : QString();
}

QString restText(int matching, int total)
{
    QStringList parts;
    if (matching < total)
        parts
            << CredentialTexts::tr("%1 of %2 credentials match").arg(QString::number(matching), QString::number(total));
    if (const QString notShown = notShownText(matching); !notShown.isEmpty())
        parts << notShown;
    return parts.join(QStringLiteral(", "));
}

QString idWarningText(const CredentialIdFaults& faults)
{
    QStringList parts;
    if (!faults.repeated.isEmpty())
        parts << CredentialTexts::tr("Credentials with the id of another one: %1.").arg(faults.repeated.size());
    if (!faults.notHexadecimal.isEmpty())
        parts << CredentialTexts::tr("Ids that are not hexadecimal: %1; a key leaves such credentials out.")
                     .arg(faults.notHexadecimal.size());
    return parts.join(QLatin1Char(' '));
}

bool isFound(const QJsonObject& credential, const QString& text)
{
    const auto has = [&text](const QJsonValue& value) { return value.toString().contains(text, Qt::CaseInsensitive); };
    const auto hasMember = [&has](const QJsonValue& object, std::initializer_list<const char*> keys) {
        const QJsonObject members = object.toObject();
        return std::any_of(keys.begin(), keys.end(),
                           [&](const char* key) { return has(members.value(QLatin1String(key))); });
    };
    return hasMember(credential, {"id", "description", "createdAt", "privateKeyFile", "publicKeyFile"}) ||
           hasMember(credential.value(QStringLiteral("rp")), {"id", "name"}) ||
           hasMember(credential.value(QStringLiteral("user")), {"id", "name"});
}

QString yesOrNo(bool value)
{
    return value ? CredentialTexts::tr("Yes") : CredentialTexts::tr("No");
}

QString textOrNotAvailable(const QJsonValue& value)
{
    return value.isString() ? shownText(value.toString()) : notAvailable();
}
