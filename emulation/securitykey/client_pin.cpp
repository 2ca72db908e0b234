#include "emulation/securitykey/client_pin.h"

#include "emulation/securitykey/cbor_fields.h"
#include "emulation/securitykey/crypto.h"
#include "emulation/securitykey/log.h"

#include <utility>

namespace ctap {

namespace {

using Need = CborFields::Need;

// Members of the request.
constexpr qint64 kProtocol = 1;
constexpr qint64 kSubcommand = 2;
constexpr qint64 kKeyAgreement = 3;
constexpr qint64 kPinAuthParameter = 4;
constexpr qint64 kNewPin = 5;
constexpr qint64 kPinHash = 6;
constexpr qint64 kPermissions = 9;
constexpr qint64 kRpId = 10;

// Members of the reply.
constexpr qint64 kReplyKeyAgreement = 1;
constexpr qint64 kReplyToken = 2;
constexpr qint64 kReplyRetries = 3;
constexpr qint64 kReplyPowerCycle = 4;

constexpr int kWrongUntilRestart = 3;
constexpr int kPinHashSize = 16;   // bytes of SHA-256 that are kept
constexpr int kPaddedPinSize = 64; // bytes
constexpr int kLongestPin = 63;    // bytes
constexpr int kShortestPin = 4;    // characters

QByteArray hashOf(const QByteArray& pin)
{
    return sha256(pin).left(kPinHashSize);
}

/// Members that every subcommand with an agreement has.
struct Agreed
{
    Status status = Status::Ok;
    std::optional<SharedSecret> secret;
    QByteArray authentication; ///< pinUvAuthParam, if there is one
    QByteArray newPin;
    QByteArray pinHash;
};

enum class Members
{
    SetPin,
    ChangePin,
    Token
};

Agreed readAgreed(const KeyAgreement& agreement, const QCborMap& request, Members members)
{
    CborFields fields(request);
    const auto version = pinVersion(fields.integer(kProtocol, Need::Required));
    const QCborMap peer = fields.map(kKeyAgreement, Need::Required);
    Agreed agreed;
    if (members != Members::Token) {
        agreed.authentication = fields.bytes(kPinAuthParameter, Need::Required);
        agreed.newPin = fields.bytes(kNewPin, Need::Required);
    }
    if (members != Members::SetPin)
        agreed.pinHash = fields.bytes(kPinHash, Need::Required);
    if (fields.status() == Status::Ok) {
        agreed.secret = version ? agreement.sharedSecret(*version, peer) : std::nullopt;
        if (!agreed.secret)
            fields.fail(Status::InvalidParameter);
    }
    agreed.status = fields.status();
    return agreed;
}

} // namespace

ClientPin::ClientPin(const KeyStore& store, Clock now) : m_store(store), m_now(std::move(now))
{}

void ClientPin::restart()
{
    m_agreement.regenerate();
    m_token.revoke();
    m_wrongInARow = 0;
}

Reply ClientPin::execute(const QCborMap& request)
{
    CborFields fields(request);
    const qint64 subcommand = fields.integer(kSubcommand, Need::Required);
    if (fields.status() != Status::Ok)
        return fields.status();
    constexpr qint64 kGetKeyAgreement = 2;
    if (!isSupported() && subcommand != kGetKeyAgreement) // which hmac-secret needs too
        return Status::InvalidSubcommand;
    switch (subcommand) {
    case 1: // getPINRetries
        return QCborMap{{kReplyRetries, m_store.pin().retries},
                        {kReplyPowerCycle, m_wrongInARow >= kWrongUntilRestart}};
    case kGetKeyAgreement:
        if (!pinVersion(fields.integer(kProtocol, Need::Required)))
            return fields.status() == Status::Ok ? Status::InvalidParameter : fields.status();
        return QCborMap{{kReplyKeyAgreement, m_agreement.publicKey()}};
    case 3:
        return setPin(request);
    case 4:
        return changePin(request);
    case 5: // getPinToken
        return token(request, false);
    case 9: // getPinUvAuthTokenUsingPinWithPermissions
        return token(request, true);
    default:
        return Status::InvalidSubcommand;
    }
}

Reply ClientPin::setPin(const QCborMap& request)
{
    const Agreed agreed = readAgreed(m_agreement, request, Members::SetPin);
    if (agreed.status != Status::Ok)
        return agreed.status;
    if (m_store.pin().isSet || !agreed.secret->verify(agreed.newPin, agreed.authentication))
        return Status::PinAuthInvalid;
    return storeNewPin(*agreed.secret, agreed.newPin);
}

Reply ClientPin::changePin(const QCborMap& request)
{
    const Agreed agreed = readAgreed(m_agreement, request, Members::ChangePin);
    if (agreed.status != Status::Ok)
        return agreed.status;
    const PinRecord pin = m_store.pin();
    if (!pin.isSet)
        return Status::PinNotSet;
    if (pin.retries <= 0)
        return Status::PinBlocked;
    if (!agreed.secret->verify(agreed.newPin + agreed.pinHash, agreed.authentication))
        return Status::PinAuthInvalid;
    const Status checked = checkPin(*agreed.secret, agreed.pinHash);
    return checked == Status::Ok ? storeNewPin(*agreed.secret, agreed.newPin) : Reply(checked);
}

Reply ClientPin::storeNewPin(const SharedSecret& secret, const QByteArray& encrypted)
{
    const auto padded = secret.decrypt(encrypted);
    if (!padded || padded->size() != kPaddedPinSize)
        return Status::InvalidParameter;
    QByteArray pin = *padded;
    while (pin.endsWith('\0'))
        pin.chop(1);
    const QString text = QString::fromUtf8(pin);
    if (pin.size() > kLongestPin || text.toUcs4().size() < kShortestPin)
        return Status::PinPolicyViolation;
    const bool stored = m_store.changePin([&pin](PinRecord& record) {
        record.isSet = true;
        record.hash = hashOf(pin);
        record.retries = record.mostRetries;
    });
    m_token.revoke();
    if (stored)
        qCInfo(securityKeyLog) << "PIN set by the host";
    return stored ? Status::Ok : Status::Other;
}

Status ClientPin::checkPin(const SharedSecret& secret, const QByteArray& encryptedHash)
{
    if (m_wrongInARow >= kWrongUntilRestart)
        return Status::PinAuthBlocked;
    PinRecord before;
    // On the disk before anything can be learnt from the answer.
    if (!m_store.changePin([&before](PinRecord& record) {
            before = record;
            --record.retries;
        }))
        return Status::Other;
    const auto hash = secret.decrypt(encryptedHash);
    const bool right = hash && before.hash.size() == kPinHashSize && sameSecret(*hash, before.hash);
    if (!right) {
        qCWarning(securityKeyLog) << "Wrong PIN; attempts left:" << before.retries - 1;
        m_agreement.regenerate();
        ++m_wrongInARow;
        if (before.retries <= 1)
            return Status::PinBlocked;
        return m_wrongInARow >= kWrongUntilRestart ? Status::PinAuthBlocked : Status::PinInvalid;
    }
    m_wrongInARow = 0;
    return m_store.changePin([](PinRecord& record) { record.retries = record.mostRetries; }) ? Status::Ok
                                                                                             : Status::Other;
}

Reply ClientPin::token(const QCborMap& request, bool withPermissions)
{
    const Agreed agreed = readAgreed(m_agreement, request, Members::Token);
    CborFields fields(request);
    const auto permissions = int(fields.integer(kPermissions, withPermissions ? Need::Required : Need::Optional));
    const QString rpId = fields.text(kRpId, Need::Optional);
    for (const Status status : {agreed.status, fields.status()}) {
        if (status != Status::Ok)
            return status;
    }
    if (withPermissions == (permissions == 0) || (!withPermissions && fields.has(kRpId)))
        return Status::InvalidParameter;
    if ((permissions & ~permission::kAll) != 0)
        return Status::UnauthorizedPermission;
    constexpr int kForRelyingParty = permission::kMakeCredential | permission::kGetAssertion;
    if ((permissions & kForRelyingParty) != 0 && rpId.isEmpty())
        return Status::MissingParameter;
    const PinRecord pin = m_store.pin();
    if (!pin.isSet)
        return Status::PinNotSet;
    if (pin.retries <= 0)
        return Status::PinBlocked;
    const Status checked = checkPin(*agreed.secret, agreed.pinHash);
    if (checked != Status::Ok)
        return checked;
    const auto version = *pinVersion(fields.integer(kProtocol, Need::Required));
    const QByteArray token = m_token.issue(version, withPermissions ? permissions : kForRelyingParty, rpId, m_now());
    return QCborMap{{kReplyToken, agreed.secret->encrypt(token)}};
}

Status ClientPin::authorise(const PinAuth& auth, const QByteArray& message, int permission, const QString& rpId)
{
    return m_token.verify(auth.version, message, auth.signature, m_now()) && m_token.permits(permission, rpId)
               ? Status::Ok
               : Status::PinAuthInvalid;
}

} // namespace ctap
