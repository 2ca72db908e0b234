// key_pair.h: private keys as credentials, agreements and attestation use them.
#pragma once

#include "devices/openssl_handles.h"

#include <QByteArray>
#include <QCborMap>

#include <optional>

namespace ctap {

/// COSE algorithm identifiers (RFC 9053) of what this key can sign with.
enum class Algorithm : int
{
    Es256 = -7, ///< ECDSA with SHA-256 on P-256
    EdDsa = -8  ///< Ed25519
};

/// Whether `identifier` is one of the above.
bool isSupported(qint64 identifier);

/// Null when OpenSSL refuses.
openssl::Key makeKey(Algorithm algorithm);

/// The algorithm that a key is for; nothing for a key of another kind.
std::optional<Algorithm> algorithmOf(const openssl::Key& key);

/// ES256: an ASN.1 DER sequence; EdDSA: 64 bytes. Empty when OpenSSL refuses.
QByteArray sign(const openssl::Key& key, const QByteArray& message);

/// The public half of `key`, which algorithmOf() knows, as a COSE_Key (RFC 9052).
QCborMap coseKey(const openssl::Key& key);

/// The point of a P-256 key without compression: 65 bytes.
QByteArray uncompressedPoint(const openssl::Key& key);

/// What the two P-256 keys agree on: the 32 bytes of the point's x coordinate. Nothing when `peer` is no COSE_Key of
/// such a key or its point is not on the curve.
std::optional<QByteArray> agree(const openssl::Key& own, const QCborMap& peer);

/// Of a key that only agrees: as coseKey(), with the algorithm that CTAP gives such keys.
QCborMap agreementKey(const openssl::Key& key);

} // namespace ctap
