// pin.h: the client PIN of a security key: what is accepted and how it is kept.
#pragma once

#include <QString>

enum class PinCheck
{
    Ok,
    Empty,
    WrongLength,
    Mismatch
};

/// Lengths from 4 to 63 are right, counted in characters (code points), so an emoji counts once.
PinCheck checkPin(const QString& pin, const QString& confirmation);

/// The first 16 bytes of the SHA-256 digest of the PIN's UTF-8 bytes as 32 lower-case hexadecimal characters.
QString pinHash(const QString& pin);
