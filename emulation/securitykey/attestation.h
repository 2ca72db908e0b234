// attestation.h: how a new credential proves which model of key it is from.
#pragma once

#include "emulation/securitykey/key_store.h"

#include <QByteArray>

#include <optional>

namespace ctap {

/// Of this model of authenticator, 16 bytes.
const QByteArray& aaguid();

/// A key pair made for each start, whose certificate the key's own authority signed: no further file keeps a secret.
struct Attestation
{
    openssl::Key key;
    QByteArray certificate; ///< DER
};

/// Nothing when OpenSSL refuses.
std::optional<Attestation> makeAttestation(const Authority& authority);

// Flags of authenticator data (WebAuthn, 6.1).
constexpr int kUserPresent = 0x01;
constexpr int kUserVerified = 0x04;
constexpr int kAttestedData = 0x40;
constexpr int kExtensionData = 0x80;

/// `tail` is attested credential data and extensions, as the flags say.
QByteArray authenticatorData(const QByteArray& rpIdHash, int flags, std::uint32_t signatureCount,
                             const QByteArray& tail = {});

/// Attested credential data: the model, the credential's id and its public key.
QByteArray attestedData(const QByteArray& credentialId, const openssl::Key& key);

} // namespace ctap
