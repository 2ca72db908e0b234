// pin_protocol.h: PIN/UV auth protocols one and two (CTAP 2.1, 6.5.6 and 6.5.7), the authenticator's end.
#pragma once

#include "devices/openssl_handles.h"

#include <QByteArray>
#include <QCborMap>

#include <optional>

namespace ctap {

enum class PinVersion : int
{
    One = 1,
    Two = 2
};

/// Nothing for a number that is no version.
std::optional<PinVersion> pinVersion(qint64 number);

/// What both ends know after an agreement.
class SharedSecret
{
public:
    /// `z` is the x coordinate that they agreed on.
    SharedSecret(PinVersion version, const QByteArray& z);

    QByteArray encrypt(const QByteArray& plain) const; ///< `plain` is a multiple of 16 bytes long
    std::optional<QByteArray> decrypt(const QByteArray& cipher) const;
    bool verify(const QByteArray& message, const QByteArray& signature) const;

private:
    PinVersion m_version;
    QByteArray m_authenticationKey;
    QByteArray m_encryptionKey;
};

/// Whether `signature` is the message's under that key, a token of 32 bytes for example.
bool verifyPinAuth(PinVersion version, const QByteArray& key, const QByteArray& message, const QByteArray& signature);

/// The key pair that both protocols agree with, new for each start and after each wrong PIN.
class KeyAgreement
{
public:
    KeyAgreement() { regenerate(); }

    void regenerate();
    QCborMap publicKey() const;
    /// Nothing when `peer` is no P-256 key.
    std::optional<SharedSecret> sharedSecret(PinVersion version, const QCborMap& peer) const;

private:
    openssl::Key m_key;
};

} // namespace ctap
