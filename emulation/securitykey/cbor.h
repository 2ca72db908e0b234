// cbor.h: CBOR as CTAP speaks it (CTAP 2.1, section 8): canonical, a few kinds of values, four levels deep.
#pragma once

#include <QByteArray>
#include <QCborMap>
#include <QCborValue>

#include <optional>

namespace ctap {

/// Shortest forms, definite lengths, keys of maps in CTAP's order. Nothing when `value` holds something else than
/// integers, byte and text strings, booleans, arrays and maps, holds a key twice, or is deeper than four levels.
std::optional<QByteArray> encodeCbor(const QCborValue& value);

/// The one value that `bytes` are the canonical encoding of; nothing when there is none.
std::optional<QCborValue> decodeCbor(const QByteArray& bytes);

} // namespace ctap
