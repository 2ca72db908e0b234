#include "fido2/dialogs/confirmation_texts.h"

#include "fido2/dialogs/credential_texts.h"
#include "runtime/shown_text.h"

#include <QCoreApplication>
#include <QJsonArray>

namespace {

struct ConfirmationTexts
{
    Q_DECLARE_TR_FUNCTIONS(ConfirmationTexts)
};

QString member(const QJsonObject& object, const char* key)
{
    return shownText(object.value(QLatin1String(key)).toString());
}

QString memberOr(const QJsonObject& object, const char* key, const QString& substitute)
{
    const QString text = member(object, key);
    return text.isEmpty() ? substitute : text;
}

QString unknown()
{
    return ConfirmationTexts::tr("Unknown");
}

QString unknownUser()
{
    return ConfirmationTexts::tr("Unknown User");
}

/// `pattern` with the value, nothing for an empty value.
QString part(const QString& pattern, const QString& value)
{
    return value.isEmpty() ? QString() : pattern.arg(value);
}

/// The display name, or the user name when that is empty.
QString candidateName(const QJsonObject& candidate)
{
    return memberOr(candidate, "userDisplayName", member(candidate, "userName"));
}

QString numberOf(const QJsonObject& object, const char* key)
{
    return shownText(numberText(object.value(QLatin1String(key))));
}

QString algorithms(const QJsonObject& data)
{
    const QJsonArray offered = data.value(QStringLiteral("supportedAlgorithms")).toArray();
    if (offered.isEmpty())
        return part(ConfirmationTexts::tr("\n\nAlgorithm Information:\n%1"),
                    shownLines(data.value(QStringLiteral("algorithmInfo")).toString()));
    QString text = ConfirmationTexts::tr("\n\nSupported Algorithms (%1):").arg(offered.size());
    int number = 0;
    for (const QJsonValue& element : offered) {
        if (number == kMostShownItems)
            break;
        const QJsonObject algorithm = element.toObject();
        const QString id = numberOf(algorithm, "id");
        text +=
            ConfirmationTexts::tr("\n  %1. Type: %2, ID: %3")
                .arg(QString::number(++number), memberOr(algorithm, "type", unknown()), id.isEmpty() ? unknown() : id);
    }
    return text + part(QStringLiteral("\n  %1"), notShownText(offered.size()));
}

QString registrationDetails(const QJsonObject& data)
{
    QString text = ConfirmationTexts::tr("Relying Party: %1 (%2)\nUser: %3")
                       .arg(memberOr(data, "rpName", unknown()), memberOr(data, "rpId", unknown()),
                            memberOr(data, "userName", unknownUser()));
    text += algorithms(data);
    text += part(ConfirmationTexts::tr("\nCredential Type: %1"), member(data, "credentialType"));
    text += part(ConfirmationTexts::tr("\nUser ID: %1"), member(data, "userId"));
    text += part(ConfirmationTexts::tr("\nCredential ID: %1"), member(data, "credentialId"));
    text += part(ConfirmationTexts::tr("\nDevice: %1"), member(data, "deviceName"));
    if (data.value(QStringLiteral("pinRequired")).toBool())
        text += ConfirmationTexts::tr("\nPIN Required: Yes");
    return text;
}

QString candidateLine(const QJsonObject& candidate, int number)
{
    const QString name = candidateName(candidate);
    QString line = ConfirmationTexts::tr("\n  %1. %2%3%4%5")
                       .arg(QString::number(number), name.isEmpty() ? unknownUser() : name,
                            part(ConfirmationTexts::tr(" - %1"), member(candidate, "description")),
                            part(ConfirmationTexts::tr(" (Created: %1)"), member(candidate, "createdAt")),
                            part(ConfirmationTexts::tr(" [ID: %1]"), member(candidate, "id")));
    if (candidate.value(QStringLiteral("isSelected")).toBool())
        line += QStringLiteral(" ✓");
    return line;
}

QString passwordlessDetails(const QJsonObject& data)
{
    QString text = ConfirmationTexts::tr("Passwordless Login to: %1 (%2)")
                       .arg(memberOr(data, "rpName", unknown()), memberOr(data, "rpId", unknown()));
    const QJsonArray candidates = data.value(QStringLiteral("availableCredentials")).toArray();
    if (!candidates.isEmpty())
        text += ConfirmationTexts::tr("\n\nAvailable Credentials (%1):").arg(candidates.size());
    int number = 0;
    for (const QJsonValue& candidate : candidates) {
        if (number == kMostShownItems)
            break;
        text += candidateLine(candidate.toObject(), ++number);
    }
    return text + part(QStringLiteral("\n  %1"), notShownText(candidates.size()));
}

QString transports(const QJsonObject& data)
{
    QStringList names;
    for (const QJsonValue& transport : data.value(QStringLiteral("transports")).toArray())
        names << transport.toString();
    return shownText(names.join(QStringLiteral(", ")));
}

/// Without a candidate the request's own members stand for it.
QString signInDetails(const QJsonObject& data)
{
    const QJsonArray candidates = data.value(QStringLiteral("availableCredentials")).toArray();
    const QJsonObject candidate = candidates.isEmpty() ? data : candidates.first().toObject();
    const QString user = candidateName(candidate);
    const QString rpId = memberOr(data, "rpId", unknown());
    QString text = ConfirmationTexts::tr("Authenticating to: %1 (%2)\nUser: %3")
                       .arg(memberOr(data, "rpName", rpId), rpId, user.isEmpty() ? unknownUser() : user);
    text += part(ConfirmationTexts::tr("\nCredential ID: %1"),
                 member(candidate, candidates.isEmpty() ? "credentialId" : "id"));
    text += part(ConfirmationTexts::tr("\nDescription: %1"), member(candidate, "description"));
    text += part(ConfirmationTexts::tr("\nCredential Type: %1"), member(data, "credentialType"));
    text += part(ConfirmationTexts::tr("\nTransports: %1"), transports(data));
    text += part(ConfirmationTexts::tr("\nSignature Counter: %1"), numberOf(data, "signatureCounter"));
    if (const QJsonValue required = data.value(QStringLiteral("userVerificationRequired")); required.isBool())
        text += ConfirmationTexts::tr("\nUser Verification: %1")
                    .arg(required.toBool() ? ConfirmationTexts::tr("Required") : ConfirmationTexts::tr("Not Required"));
    return text;
}

QString fieldExplanations()
{
    static constexpr struct
    {
        const char* field;
        const char* meaning;
    } kFields[] = {
        {"operation", QT_TRANSLATE_NOOP("ConfirmationTexts", "FIDO2 operation type (make_credential/get_assertion)")},
        {"rpId", QT_TRANSLATE_NOOP("ConfirmationTexts", "Relying Party Identifier (website domain)")},
        {"rpName", QT_TRANSLATE_NOOP("ConfirmationTexts", "Relying Party Name (website name)")},
        {"userName", QT_TRANSLATE_NOOP("ConfirmationTexts", "User's username or email")},
        {"userDisplayName", QT_TRANSLATE_NOOP("ConfirmationTexts", "User's display name")},
        {"userId", QT_TRANSLATE_NOOP("ConfirmationTexts", "User's unique identifier (hex format)")},
        {"credentialId", QT_TRANSLATE_NOOP("ConfirmationTexts", "Generated credential identifier (hex format)")},
        {"algorithm", QT_TRANSLATE_NOOP("ConfirmationTexts", "Cryptographic algorithm identifier")},
        {"algorithmType", QT_TRANSLATE_NOOP("ConfirmationTexts", "Key type (e.g., public-key)")},
        {"signatureCounter", QT_TRANSLATE_NOOP("ConfirmationTexts", "Current signature counter value")},
        {"userVerificationRequired", QT_TRANSLATE_NOOP("ConfirmationTexts", "Whether user verification is needed")},
        {"publicKeyFile", QT_TRANSLATE_NOOP("ConfirmationTexts", "Path to the credential's public key file")},
        {"privateKeyFile", QT_TRANSLATE_NOOP("ConfirmationTexts", "Path to the credential's private key file")},
        {"timestamp", QT_TRANSLATE_NOOP("ConfirmationTexts", "Request timestamp in milliseconds")},
        {"pinRequired", QT_TRANSLATE_NOOP("ConfirmationTexts", "Whether PIN authentication is required")},
        {"deviceSerialNumber", QT_TRANSLATE_NOOP("ConfirmationTexts", "FIDO2 device serial number")},
        {"deviceName", QT_TRANSLATE_NOOP("ConfirmationTexts", "FIDO2 device name")},
        {"challenge", QT_TRANSLATE_NOOP("ConfirmationTexts", "Random challenge for security (in raw data)")},
        {"pubKeyCredParams", QT_TRANSLATE_NOOP("ConfirmationTexts", "Supported key algorithms (in raw data)")},
        {"timeout", QT_TRANSLATE_NOOP("ConfirmationTexts", "Request timeout in milliseconds (in raw data)")},
        {"attestation", QT_TRANSLATE_NOOP("ConfirmationTexts", "Attestation preference (in raw data)")},
        {"authenticatorSelection", QT_TRANSLATE_NOOP("ConfirmationTexts", "Authenticator requirements (in raw data)")},
    };
    QString text;
    for (const auto& [field, meaning] : kFields)
        text += QStringLiteral("• %1: %2\n").arg(QLatin1String(field), ConfirmationTexts::tr(meaning));
    return text;
}

} // namespace

QString confirmationHeading(const QString& operation)
{
    if (operation == QStringLiteral("make_credential"))
        return ConfirmationTexts::tr("Create New FIDO2 Credential");
    if (operation == QStringLiteral("get_assertion"))
        return ConfirmationTexts::tr("FIDO2 Authentication");
    if (operation == QStringLiteral("client_pin"))
        return ConfirmationTexts::tr("FIDO2 PIN Operation");
    constexpr int kLongestOperation = 64;
    return ConfirmationTexts::tr("FIDO2 Operation: %1").arg(shownText(operation, kLongestOperation));
}

QString confirmationDetails(const QString& operation, const QJsonObject& data)
{
    if (operation == QStringLiteral("make_credential"))
        return registrationDetails(data);
    if (operation != QStringLiteral("get_assertion"))
        return {};
    const bool picks = isPasswordlessLogin(data) && data.value(QStringLiteral("availableCredentials")).isArray();
    return picks ? passwordlessDetails(data) : signInDetails(data);
}

QString credentialChoice(const QJsonObject& candidate)
{
    constexpr int kShownIdLength = 16;
    constexpr int kLongestShownPart = 200;
    const QString description = shownText(candidate.value(QStringLiteral("description")).toString(), kLongestShownPart);
    const QString name = shownText(candidateName(candidate), kLongestShownPart);
    const QString id = shownText(candidate.value(QStringLiteral("id")).toString().left(kShownIdLength));
    return ConfirmationTexts::tr("%1 - %2 [ID: %3]")
        .arg(description.isEmpty() ? ConfirmationTexts::tr("No description") : description,
             name.isEmpty() ? unknownUser() : name, id + QStringLiteral("..."));
}

QString completeRequestText(const QString& operation, const QJsonObject& data)
{
    return ConfirmationTexts::tr("Operation Type: %1\n\n").arg(shownText(operation)) +
           ConfirmationTexts::tr("Raw Request Data:\n") + shownJson(data) +
           ConfirmationTexts::tr("\n\nField Explanations:\n") + fieldExplanations();
}

bool isPasswordlessLogin(const QJsonObject& data)
{
    return data.value(QStringLiteral("isPasswordlessLogin")).toBool();
}

bool offersCredentials(const QJsonObject& data)
{
    return isPasswordlessLogin(data) && !data.value(QStringLiteral("availableCredentials")).toArray().isEmpty();
}
