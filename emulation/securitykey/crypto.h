// crypto.h: the primitives that CTAP builds on.
#pragma once

#include <QByteArray>

#include <optional>

namespace ctap {

QByteArray sha256(const QByteArray& bytes);
QByteArray hmacSha256(const QByteArray& key, const QByteArray& message);

/// HKDF (RFC 5869) with SHA-256 and a salt of 32 zero bytes; 32 bytes.
QByteArray hkdfSha256(const QByteArray& secret, const QByteArray& info);

enum class Direction
{
    Encrypt,
    Decrypt
};

/// AES-256-CBC without padding. Nothing when `bytes` is no multiple of 16 bytes. `key` has 32, `vector` 16.
std::optional<QByteArray> aes256Cbc(Direction direction, const QByteArray& key, const QByteArray& vector,
                                    const QByteArray& bytes);

/// From the system's generator for keys; ends the process when it fails, since nothing safe can be done then.
QByteArray randomBytes(int count);

/// Takes as long wherever they differ.
bool sameSecret(const QByteArray& left, const QByteArray& right);

} // namespace ctap
