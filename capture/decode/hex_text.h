// hex_text.h: bytes as hexadecimal text.
#pragma once

#include <QByteArray>
#include <QString>

/// At most `limit` bytes as pairs of upper-case digits with single blanks between; " ..." follows when there are more.
/// Empty for no bytes.
QString hexText(const QByteArray& bytes, int limit);

/// "0x" and `value` in at least `digits` lower-case digits, padded with zeros.
QString hexNumber(quint64 value, int digits);
