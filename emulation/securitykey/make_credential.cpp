#include "emulation/securitykey/make_credential.h"

#include "emulation/securitykey/cbor.h"
#include "emulation/securitykey/crypto.h"
#include "emulation/securitykey/key_pair.h"
#include "emulation/securitykey/log.h"
#include "emulation/securitykey/questions.h"

#include <algorithm>

namespace ctap {

namespace {

constexpr int kCredentialIdSize = 32; // bytes
constexpr int kSecretSize = 32;       // bytes, of hmac-secret

// Members of the reply.
constexpr qint64 kFormat = 1;
constexpr qint64 kAuthenticatorData = 2;
constexpr qint64 kStatement = 3;

QCborMap extensionOutputs(const MakeCredentialRequest& request)
{
    QCborMap outputs;
    if (request.protection)
        outputs.insert(QStringLiteral("credProtect"), *request.protection);
    if (request.hasHmacSecret)
        outputs.insert(QStringLiteral("hmac-secret"), true);
    return outputs;
}

} // namespace

void MakeCredential::execute(const QCborMap& map, const Replied& replied)
{
    MakeCredentialRequest request;
    const Status readable = read(map, request);
    if (request.pin && request.pin->signature.isEmpty())
        return askForTouch(m_parts, replied);
    const Status status = readable == Status::Ok ? check(request) : readable;
    if (status != Status::Ok)
        return replied(status);
    const QJsonObject question = makeCredentialQuestion(m_parts.store, request, request.pin.has_value());
    m_parts.presence.ask(QStringLiteral("make_credential"), question,
                         [this, request, replied](const UserAnswer& answer) {
                             if (answer.verdict != Verdict::Confirmed)
                                 return replied(statusOf(answer.verdict));
                             if (isExcluded(request))
                                 return replied(Status::CredentialExcluded);
                             replied(make(request, answer.result.value(QLatin1String("description")).toString()));
                         });
}

Status MakeCredential::check(const MakeCredentialRequest& request) const
{
    if (request.options.up == false)
        return Status::InvalidOption;
    if (request.pin)
        return m_parts.pin.authorise(*request.pin, request.clientDataHash, permission::kMakeCredential,
                                     request.wanted.rpId);
    if (request.options.uv == true)
        return Status::InvalidOption; // only a PIN verifies the user
    return request.options.rk && m_parts.pin.isSet() ? Status::PinUvAuthTokenRequired : Status::Ok;
}

bool MakeCredential::isExcluded(const MakeCredentialRequest& request) const
{
    const auto excludes = [&request](const Credential& credential) {
        return credential.rpIdHash == request.wanted.rpIdHash &&
               (credential.protection != Protection::Required || request.pin) &&
               std::find(request.excluded.begin(), request.excluded.end(), credential.id) != request.excluded.end();
    };
    const std::vector<Credential> credentials = m_parts.store.credentials();
    return std::any_of(credentials.begin(), credentials.end(), excludes);
}

Reply MakeCredential::make(const MakeCredentialRequest& request, const QString& description) const
{
    Credential credential = request.wanted;
    if (request.hasHmacSecret) {
        credential.secretWithPin = randomBytes(kSecretSize);
        credential.secretWithoutPin = randomBytes(kSecretSize);
    }
    const openssl::Key key = addCredential(m_parts.store, credential, description);
    if (!key)
        return Status::KeyStoreFull;
    m_parts.pin.spend();
    const QCborMap outputs = extensionOutputs(request);
    const int flags =
        kUserPresent | kAttestedData | (request.pin ? kUserVerified : 0) | (outputs.isEmpty() ? 0 : kExtensionData);
    const QByteArray data =
        authenticatorData(credential.rpIdHash, flags, credential.signatureCount,
                          attestedData(credential.id, key) + (outputs.isEmpty() ? QByteArray() : *encodeCbor(outputs)));
    const QCborMap statement{{QStringLiteral("alg"), int(Algorithm::Es256)},
                             {QStringLiteral("sig"), sign(m_parts.attestation.key, data + request.clientDataHash)},
                             {QStringLiteral("x5c"), QCborArray{m_parts.attestation.certificate}}};
    return QCborMap{{kFormat, QStringLiteral("packed")}, {kAuthenticatorData, data}, {kStatement, statement}};
}

void askForTouch(const Parts& parts, const Replied& replied)
{
    parts.presence.ask(QStringLiteral("selection"), plainQuestion(parts.store, QStringLiteral("selection")),
                       [&pin = parts.pin, replied](const UserAnswer& answer) {
                           if (answer.verdict != Verdict::Confirmed)
                               return replied(statusOf(answer.verdict));
                           replied(pin.isSet() ? Status::PinInvalid : Status::PinNotSet);
                       });
}

openssl::Key addCredential(const KeyStore& store, Credential& credential, const QString& description)
{
    credential.id = randomBytes(kCredentialIdSize);
    credential.description = description;
    openssl::Key key = makeKey(Algorithm(credential.algorithm));
    if (!key || !store.add(credential, key))
        return nullptr;
    qCInfo(securityKeyLog).noquote() << "Credential made for" << credential.rpId;
    return key;
}

} // namespace ctap
