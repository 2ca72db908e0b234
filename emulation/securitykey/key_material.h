// key_material.h: key pairs and certificates that a security key makes for itself, as PEM files.
#pragma once

#include "devices/openssl_handles.h"

#include <QByteArray>
#include <QString>

namespace ctap {

/// A version 3 certificate authority that signs itself with SHA-256, valid for ten years from now.
openssl::Certificate makeAuthority(const openssl::Key& key, const QString& commonName);

/// A certificate for `key` as packed attestation asks for it (WebAuthn, 8.2.1), signed by the authority and valid as
/// long as it. `aaguid` has 16 bytes. Null when OpenSSL refuses.
openssl::Certificate makeAttestationCertificate(const openssl::Key& key, const openssl::Certificate& authority,
                                                const openssl::Key& authorityKey, const QByteArray& aaguid);

/// DER; empty when it fails.
QByteArray derOf(const openssl::Certificate& certificate);

/// PKCS #8 and SubjectPublicKeyInfo, each whole or not at all; the files are for their owner only. False when one could
/// not be written.
bool writeKeyPair(const openssl::Key& key, const QString& privatePath, const QString& publicPath);
bool writeCertificate(const openssl::Certificate& certificate, const QString& path);

/// Of a PEM file; empty when it cannot be read or is no file of keys by its size.
QByteArray readPem(const QString& path);

/// Null when the text holds something else or asks for a passphrase.
openssl::Key privateKeyOf(const QByteArray& pem);
openssl::Certificate certificateOf(const QByteArray& pem);

} // namespace ctap
