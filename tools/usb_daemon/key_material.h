// key_material.h: key pairs and certificates that a security key makes for itself, as PEM files.
#pragma once

#include "devices/openssl_handles.h"

#include <QString>

/// A new key pair on the curve P-256 (FIPS 186); null when OpenSSL refuses.
openssl::Key makeKeyPair();

/// A version 3 certificate authority that signs itself with SHA-256, valid for ten years from now.
openssl::Certificate makeAuthority(const openssl::Key& key, const QString& commonName);

/// PKCS #8 and SubjectPublicKeyInfo, each whole or not at all; the files are for their owner only. False when one could
/// not be written.
bool writeKeyPair(const openssl::Key& key, const QString& privatePath, const QString& publicPath);
bool writeCertificate(const openssl::Certificate& certificate, const QString& path);
