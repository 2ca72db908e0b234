// pin.h: the client PIN of a security key: what is accepted and how it is kept.
#pragma once

#include <QString>

constexpr int kShortestPin = 4;     ///< characters
constexpr int kShortestGoodPin = 6; ///< characters; shorter ones are accepted
constexpr int kLongestPin = 63;     ///< characters
constexpr int kMostPinBytes = 63;   ///< of UTF-8; CTAP 2.1 carries no more, so a host cannot enter a longer one

enum class PinCheck
{
    Ok,
    Empty,
    WrongLength,
    Mismatch
};

/// In code points, so an emoji counts once.
int characterCount(const QString& pin);

/// Lengths from 4 to 63 are right, counted in characters.
PinCheck checkPin(const QString& pin, const QString& confirmation);

/// The first 16 bytes of the SHA-256 digest of the PIN's UTF-8 bytes as 32 lower-case hexadecimal characters.
QString pinHash(const QString& pin);
