#include "emulation/securitykey/get_assertion.h"

#include "emulation/securitykey/cbor.h"
#include "emulation/securitykey/credential_entities.h"
#include "emulation/securitykey/crypto.h"
#include "emulation/securitykey/key_pair.h"
#include "emulation/securitykey/log.h"
#include "emulation/securitykey/questions.h"

#include <algorithm>

namespace ctap {

namespace {

// Members of the reply.
constexpr qint64 kCredential = 1;
constexpr qint64 kAuthenticatorData = 2;
constexpr qint64 kSignature = 3;
constexpr qint64 kUser = 4;
constexpr qint64 kNumberOfCredentials = 5;
constexpr qint64 kUserSelected = 6;

bool isPresenceWanted(const GetAssertionRequest& request)
{
    return request.options.up.value_or(true);
}

bool isAllowed(const Credential& credential, const GetAssertionRequest& request)
{
    const bool isVerified = request.pin.has_value();
    if (request.allowed.empty())
        return credential.isDiscoverable && (credential.protection == Protection::Optional || isVerified);
    return (credential.protection != Protection::Required || isVerified) &&
           std::find(request.allowed.begin(), request.allowed.end(), credential.id) != request.allowed.end();
}

} // namespace

void GetAssertion::execute(const QCborMap& map, const Replied& replied)
{
    GetAssertionRequest request;
    const Status readable = read(map, request);
    if (request.pin && request.pin->signature.isEmpty())
        return askForTouch(m_parts, replied);
    const Status status = readable == Status::Ok ? check(request) : readable;
    if (status != Status::Ok)
        return replied(status);
    const std::vector<Credential> candidates = candidatesOf(request);
    if (candidates.empty())
        return replied(Status::NoCredentials);
    if (!isPresenceWanted(request))
        return confirmed(request, candidates, {}, replied);
    const bool userChooses = request.allowed.empty();
    m_parts.presence.ask(QStringLiteral("get_assertion"),
                         getAssertionQuestion(m_parts.store, candidates, userChooses, request.pin.has_value()),
                         [this, request, candidates, replied](const UserAnswer& answer) {
                             if (answer.verdict != Verdict::Confirmed)
                                 return replied(statusOf(answer.verdict));
                             confirmed(request, candidates, answer.result, replied);
                         });
}

Status GetAssertion::check(const GetAssertionRequest& request) const
{
    if (request.options.rk)
        return Status::UnsupportedOption;
    if (request.hmacSecret && !isPresenceWanted(request))
        return Status::UnsupportedOption;
    if (request.pin)
        return m_parts.pin.authorise(*request.pin, request.clientDataHash, permission::kGetAssertion, request.rpId);
    return request.options.uv == true ? Status::InvalidOption : Status::Ok; // only a PIN verifies the user
}

std::vector<Credential> GetAssertion::candidatesOf(const GetAssertionRequest& request) const
{
    const QByteArray rpIdHash = sha256(request.rpId.toUtf8());
    std::vector<Credential> candidates = m_parts.store.credentials();
    const auto isOther = [&](const Credential& credential) {
        return credential.rpIdHash != rpIdHash || !isAllowed(credential, request);
    };
    candidates.erase(std::remove_if(candidates.begin(), candidates.end(), isOther), candidates.end());
    std::reverse(candidates.begin(), candidates.end());
    if (!request.allowed.empty() && candidates.size() > 1)
        candidates.erase(candidates.begin() + 1, candidates.end()); // any one of the list is as good
    return candidates;
}

void GetAssertion::confirmed(const GetAssertionRequest& request, std::vector<Credential> candidates,
                             const QJsonObject& result, const Replied& replied)
{
    const int chosen = result.value(QLatin1String("selectedCredentialIndex")).toInt(-1);
    const bool isChosen = request.allowed.empty() && chosen >= 0 && chosen < int(candidates.size());
    if (isChosen)
        candidates = {candidates[std::size_t(chosen)]};
    m_request = request;
    m_remaining.assign(candidates.begin() + 1, candidates.end());
    Reply reply = assertion(request, candidates.front());
    if (reply.status == Status::Ok && isChosen)
        reply.body.insert(kUserSelected, true);
    if (reply.status == Status::Ok && !m_remaining.empty())
        reply.body.insert(kNumberOfCredentials, qint64(m_remaining.size() + 1));
    m_parts.pin.spend();
    replied(reply);
}

Reply GetAssertion::next(Milliseconds now)
{
    constexpr Milliseconds kPatience = 30 * 1000;
    if (m_remaining.empty() || now - m_lastCommand > kPatience)
        return Status::NotAllowed;
    const Credential credential = m_remaining.front();
    m_remaining.pop_front();
    return assertion(m_request, credential);
}

Reply GetAssertion::assertion(const GetAssertionRequest& request, const Credential& credential) const
{
    const openssl::Key key = m_parts.store.privateKey(credential);
    if (!algorithmOf(key)) {
        qCWarning(securityKeyLog).noquote() << "No usable private key:" << credential.privateKeyFile;
        return Status::NoCredentials;
    }
    QByteArray extensions;
    const Status extended = hmacSecret(request, credential, extensions);
    if (extended != Status::Ok)
        return extended;
    // On the disk before the signature leaves: a count never comes twice.
    const auto count = m_parts.store.countSignature(credential.id);
    if (!count)
        return Status::Other;
    const bool isVerified = request.pin.has_value();
    const int flags = (isPresenceWanted(request) ? kUserPresent : 0) | (isVerified ? kUserVerified : 0) |
                      (extensions.isEmpty() ? 0 : kExtensionData);
    const QByteArray data = authenticatorData(credential.rpIdHash, flags, *count, extensions);
    QCborMap body{{kCredential, descriptorOf(credential)},
                  {kAuthenticatorData, data},
                  {kSignature, sign(key, data + request.clientDataHash)}};
    // Names only go to a host whose user has shown who they are, and that has to let them choose.
    if (credential.isDiscoverable && !credential.userId.isEmpty())
        body.insert(kUser, userEntity(credential, isVerified && request.allowed.empty()));
    return body;
}

Status GetAssertion::hmacSecret(const GetAssertionRequest& request, const Credential& credential,
                                QByteArray& extensions) const
{
    constexpr int kSaltSize = 32; // bytes
    const bool isVerified = request.pin.has_value();
    const QByteArray& secret = isVerified ? credential.secretWithPin : credential.secretWithoutPin;
    if (!request.hmacSecret || secret.isEmpty())
        return Status::Ok;
    const PinAuth& authentication = request.hmacSecret->authentication;
    const auto shared =
        m_parts.pin.keyAgreement().sharedSecret(authentication.version, request.hmacSecret->keyAgreement);
    if (!shared)
        return Status::InvalidParameter;
    if (!shared->verify(request.hmacSecret->encryptedSalts, authentication.signature))
        return Status::PinAuthInvalid;
    const QByteArray salts = shared->decrypt(request.hmacSecret->encryptedSalts).value_or(QByteArray());
    if (salts.size() != kSaltSize && salts.size() != 2 * kSaltSize)
        return Status::InvalidParameter;
    QByteArray output;
    for (int at = 0; at < salts.size(); at += kSaltSize)
        output += hmacSha256(secret, salts.mid(at, kSaltSize));
    extensions = *encodeCbor(QCborMap{{QStringLiteral("hmac-secret"), shared->encrypt(output)}});
    return Status::Ok;
}

} // namespace ctap
