#include "emulation/securitykey/credential.h"

#include "emulation/securitykey/crypto.h"

#include <algorithm>
#include <cctype>

namespace ctap {

namespace {

QString text(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toString();
}

QJsonValue hex(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.toHex());
}

std::optional<QByteArray> fromHex(const QString& text)
{
    const QByteArray digits = text.trimmed().toLatin1();
    const bool isHex = digits.size() % 2 == 0 && std::all_of(digits.begin(), digits.end(), [](char digit) {
                           return std::isxdigit(static_cast<unsigned char>(digit)) != 0;
                       });
    return isHex ? std::optional(QByteArray::fromHex(digits)) : std::nullopt;
}

/// The editor writes a number; readers of the file accept a text too.
std::uint32_t signatureCount(const QJsonValue& value)
{
    return value.isString() ? value.toString().toUInt()
                            : std::uint32_t(std::clamp(value.toDouble(), 0.0, 4294967295.0));
}

} // namespace

std::optional<Credential> credentialOf(const QJsonObject& object)
{
    constexpr int kHashSize = 32;
    const QJsonObject rp = object.value(QLatin1String("rp")).toObject();
    const QJsonObject user = object.value(QLatin1String("user")).toObject();
    const auto id = fromHex(text(object, "id"));
    Credential credential;
    credential.rpId = text(rp, "id");
    if (!id || id->isEmpty() || credential.rpId.isEmpty())
        return {};
    credential.id = *id;
    credential.rpName = text(rp, "name");
    credential.rpIdHash = fromHex(text(object, "rpIdHash")).value_or(QByteArray());
    if (credential.rpIdHash.size() != kHashSize)
        credential.rpIdHash = sha256(credential.rpId.toUtf8());
    credential.userId = fromHex(text(user, "id")).value_or(text(user, "id").toUtf8());
    credential.userName = text(user, "name");
    credential.userDisplayName = text(user, "displayName");
    credential.privateKeyFile = text(object, "privateKeyFile");
    credential.publicKeyFile = text(object, "publicKeyFile");
    credential.description = text(object, "description");
    credential.createdAt = text(object, "createdAt");
    credential.signatureCount = signatureCount(object.value(QLatin1String("sigCnt")));
    credential.isDiscoverable = object.value(QLatin1String("supportsResidentKey")).toBool();
    credential.algorithm = object.value(QLatin1String("algorithm")).toInt();
    credential.protection = Protection(std::clamp(object.value(QLatin1String("credProtect")).toInt(1), 1, 3));
    credential.secretWithPin = fromHex(text(object, "hmacSecretWithPin")).value_or(QByteArray());
    credential.secretWithoutPin = fromHex(text(object, "hmacSecretWithoutPin")).value_or(QByteArray());
    return credential;
}

QJsonObject userObject(const Credential& credential)
{
    return {{QStringLiteral("id"), hex(credential.userId)},
            {QStringLiteral("name"), credential.userName},
            {QStringLiteral("displayName"), credential.userDisplayName}};
}

QJsonObject toJson(const Credential& credential)
{
    QJsonObject object{
        {QStringLiteral("id"), hex(credential.id)},
        {QStringLiteral("type"), QStringLiteral("public-key")},
        {QStringLiteral("algorithm"), credential.algorithm},
        {QStringLiteral("sigCnt"), double(credential.signatureCount)},
        {QStringLiteral("rp"),
         QJsonObject{{QStringLiteral("id"), credential.rpId}, {QStringLiteral("name"), credential.rpName}}},
        {QStringLiteral("user"), userObject(credential)},
        {QStringLiteral("privateKeyFile"), credential.privateKeyFile},
        {QStringLiteral("publicKeyFile"), credential.publicKeyFile},
        {QStringLiteral("description"), credential.description},
        {QStringLiteral("createdAt"), credential.createdAt},
        {QStringLiteral("supportsResidentKey"), credential.isDiscoverable},
        {QStringLiteral("transports"), QStringLiteral("usb")},
        {QStringLiteral("credProtect"), int(credential.protection)},
    };
    if (credential.rpIdHash != sha256(credential.rpId.toUtf8()))
        object.insert(QStringLiteral("rpIdHash"), hex(credential.rpIdHash));
    if (!credential.secretWithPin.isEmpty()) {
        object.insert(QStringLiteral("hmacSecretWithPin"), hex(credential.secretWithPin));
        object.insert(QStringLiteral("hmacSecretWithoutPin"), hex(credential.secretWithoutPin));
    }
    return object;
}

} // namespace ctap
