#include "emulation/securitykey/requests.h"

#include "emulation/securitykey/crypto.h"
#include "emulation/securitykey/key_pair.h"

#include <QJsonObject>

namespace ctap {

namespace {

using Need = CborFields::Need;

constexpr int kHashSize = 32; // bytes of SHA-256

QCborValue named(const char* key)
{
    return QCborValue(QLatin1String(key));
}

std::vector<QByteArray> readDescriptors(CborFields& fields, qint64 key)
{
    std::vector<QByteArray> ids;
    for (const QCborValue element : fields.array(key, Need::Optional)) {
        CborFields descriptor(element.toMap());
        const QByteArray id = descriptorId(descriptor);
        fields.fail(element.isMap() ? descriptor.status() : Status::UnexpectedType);
        if (!id.isEmpty())
            ids.push_back(id);
    }
    return ids;
}

RequestOptions readOptions(CborFields& fields, qint64 key)
{
    CborFields options(fields.map(key, Need::Optional));
    RequestOptions read;
    read.rk = options.boolean(named("rk")).value_or(false);
    read.up = options.boolean(named("up"));
    read.uv = options.boolean(named("uv"));
    fields.fail(options.status());
    return read;
}

std::optional<PinAuth> readPinAuth(CborFields& fields, qint64 parameterKey, qint64 protocolKey)
{
    if (!fields.has(parameterKey))
        return {};
    PinAuth auth;
    auth.signature = fields.bytes(parameterKey, Need::Optional);
    if (auth.signature.isEmpty())
        return auth;
    const auto version = pinVersion(fields.integer(protocolKey, Need::Required));
    if (!version)
        fields.fail(Status::InvalidParameter);
    auth.version = version.value_or(PinVersion::One);
    return auth;
}

void readClientDataHash(CborFields& fields, qint64 key, QByteArray& hash)
{
    hash = fields.bytes(key, Need::Required);
    if (hash.size() != kHashSize)
        fields.fail(Status::InvalidLength);
}

void readRelyingParty(CborFields& fields, Credential& credential)
{
    CborFields rp(fields.map(2, Need::Required));
    credential.rpId = rp.text(named("id"), Need::Required);
    credential.rpName = rp.text(named("name"), Need::Optional);
    fields.fail(rp.status());
    if (credential.rpId.isEmpty())
        fields.fail(Status::InvalidParameter);
    credential.rpIdHash = sha256(credential.rpId.toUtf8());
}

void readUser(CborFields& fields, Credential& credential)
{
    constexpr int kLongestUserId = 64; // bytes
    CborFields user(fields.map(3, Need::Required));
    credential.userId = user.bytes(named("id"), Need::Required);
    credential.userName = user.text(named("name"), Need::Optional);
    credential.userDisplayName = user.text(named("displayName"), Need::Optional);
    fields.fail(user.status());
    if (credential.userId.size() > kLongestUserId)
        fields.fail(Status::InvalidLength);
}

void readAlgorithms(CborFields& fields, MakeCredentialRequest& request)
{
    for (const QCborValue element : fields.array(4, Need::Required)) {
        CborFields offer(element.toMap());
        const QString type = offer.text(named("type"), Need::Required);
        const qint64 identifier = offer.integer(named("alg"), Need::Required);
        fields.fail(element.isMap() ? offer.status() : Status::UnexpectedType);
        request.offeredAlgorithms.append(
            QJsonObject{{QStringLiteral("type"), type}, {QStringLiteral("id"), double(identifier)}});
        if (request.wanted.algorithm == 0 && type == QLatin1String("public-key") && isSupported(identifier))
            request.wanted.algorithm = int(identifier);
    }
    if (request.wanted.algorithm == 0)
        fields.fail(Status::UnsupportedAlgorithm);
}

void readMakeExtensions(CborFields& fields, MakeCredentialRequest& request)
{
    CborFields extensions(fields.map(6, Need::Optional));
    request.hasHmacSecret = extensions.boolean(named("hmac-secret")).value_or(false);
    if (extensions.has(named("credProtect"))) {
        const qint64 level = extensions.integer(named("credProtect"), Need::Optional);
        if (level < int(Protection::Optional) || level > int(Protection::Required))
            extensions.fail(Status::InvalidOption);
        else
            request.wanted.protection = Protection(*(request.protection = int(level)));
    }
    fields.fail(extensions.status());
}

std::optional<HmacSecretRequest> readHmacSecret(CborFields& fields)
{
    CborFields extensions(fields.map(4, Need::Optional));
    if (!extensions.has(named("hmac-secret")))
        return {};
    CborFields members(extensions.map(named("hmac-secret"), Need::Required));
    HmacSecretRequest request;
    request.keyAgreement = members.map(1, Need::Required);
    request.encryptedSalts = members.bytes(2, Need::Required);
    request.authentication.signature = members.bytes(3, Need::Required);
    const auto version = members.has(4) ? pinVersion(members.integer(4, Need::Optional)) : PinVersion::One;
    if (!version)
        members.fail(Status::InvalidParameter);
    request.authentication.version = version.value_or(PinVersion::One);
    fields.fail(extensions.status());
    fields.fail(members.status());
    return request;
}

} // namespace

QByteArray descriptorId(CborFields& fields)
{
    const QByteArray id = fields.bytes(named("id"), Need::Required);
    const bool isKey = fields.text(named("type"), Need::Required) == QLatin1String("public-key");
    return isKey ? id : QByteArray();
}

Status read(const QCborMap& map, MakeCredentialRequest& request)
{
    constexpr qint64 kEnterpriseAttestation = 10;
    CborFields fields(map);
    readClientDataHash(fields, 1, request.clientDataHash);
    readRelyingParty(fields, request.wanted);
    readUser(fields, request.wanted);
    request.pin = readPinAuth(fields, 8, 9);
    readAlgorithms(fields, request);
    request.excluded = readDescriptors(fields, 5);
    readMakeExtensions(fields, request);
    request.options = readOptions(fields, 7);
    request.wanted.isDiscoverable = request.options.rk;
    if (fields.has(kEnterpriseAttestation))
        fields.fail(Status::InvalidParameter);
    return fields.status();
}

Status read(const QCborMap& map, GetAssertionRequest& request)
{
    CborFields fields(map);
    request.rpId = fields.text(1, Need::Required);
    readClientDataHash(fields, 2, request.clientDataHash);
    request.allowed = readDescriptors(fields, 3);
    request.hmacSecret = readHmacSecret(fields);
    request.options = readOptions(fields, 5);
    request.pin = readPinAuth(fields, 6, 7);
    // An empty array lets every discoverable credential in; one whose entries are all of another kind lets none.
    if (request.allowed.empty() && !fields.array(3, Need::Optional).isEmpty())
        fields.fail(Status::NoCredentials);
    return fields.status();
}

} // namespace ctap
