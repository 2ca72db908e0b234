#include "emulation/securitykey/pin_protocol.h"

#include "emulation/securitykey/crypto.h"
#include "emulation/securitykey/key_pair.h"

namespace ctap {

namespace {

constexpr int kBlock = 16; // bytes of AES, of its vector and of a signature of protocol one

} // namespace

std::optional<PinVersion> pinVersion(qint64 number)
{
    return number == 1 || number == 2 ? std::optional(PinVersion(number)) : std::nullopt;
}

SharedSecret::SharedSecret(PinVersion version, const QByteArray& z) : m_version(version)
{
    if (version == PinVersion::One) {
        m_authenticationKey = m_encryptionKey = sha256(z);
    } else {
        m_authenticationKey = hkdfSha256(z, QByteArrayLiteral("CTAP2 HMAC key"));
        m_encryptionKey = hkdfSha256(z, QByteArrayLiteral("CTAP2 AES key"));
    }
}

QByteArray SharedSecret::encrypt(const QByteArray& plain) const
{
    const bool isOne = m_version == PinVersion::One;
    const QByteArray vector = isOne ? QByteArray(kBlock, '\0') : randomBytes(kBlock);
    const QByteArray cipher = aes256Cbc(Direction::Encrypt, m_encryptionKey, vector, plain).value_or(QByteArray());
    return isOne ? cipher : vector + cipher;
}

std::optional<QByteArray> SharedSecret::decrypt(const QByteArray& cipher) const
{
    if (m_version == PinVersion::One)
        return aes256Cbc(Direction::Decrypt, m_encryptionKey, QByteArray(kBlock, '\0'), cipher);
    if (cipher.size() < kBlock)
        return {};
    return aes256Cbc(Direction::Decrypt, m_encryptionKey, cipher.left(kBlock), cipher.mid(kBlock));
}

bool SharedSecret::verify(const QByteArray& message, const QByteArray& signature) const
{
    return verifyPinAuth(m_version, m_authenticationKey, message, signature);
}

bool verifyPinAuth(PinVersion version, const QByteArray& key, const QByteArray& message, const QByteArray& signature)
{
    const QByteArray whole = hmacSha256(key, message);
    return sameSecret(version == PinVersion::One ? whole.left(kBlock) : whole, signature);
}

void KeyAgreement::regenerate()
{
    m_key = makeKey(Algorithm::Es256);
}

QCborMap KeyAgreement::publicKey() const
{
    return agreementKey(m_key);
}

std::optional<SharedSecret> KeyAgreement::sharedSecret(PinVersion version, const QCborMap& peer) const
{
    const auto z = agree(m_key, peer);
    return z ? std::optional(SharedSecret(version, *z)) : std::nullopt;
}

} // namespace ctap
