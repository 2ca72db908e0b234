// message_decoder.h: the parameter message that a device process reads from its standard input, decoded.
#pragma once

#include "emulation/message/device_key.h"
#include "emulation/message/outcome.h"

#include <QByteArray>

/// Bytes of a whole message, its line feed not counted. A longer one is refused unread.
inline constexpr int kLongestMessage = 1024 * 1024;

/// The text of a message, given without its line feed: canonical base64 (RFC 4648, 4) of RSA ciphertext in PKCS #1 v1.5
/// encryption padding. With k the size of the key in bytes, the ciphertext is one block of k bytes, or chunks: a 4-byte
/// big-endian count, then for each chunk the 4-byte big-endian length of its plaintext and k bytes of ciphertext, every
/// chunk but the last full (k - 11 bytes). The plaintext is UTF-8 without a byte order mark.
Outcome<QString> decodeMessage(const QByteArray& message, const DeviceKey& key);
