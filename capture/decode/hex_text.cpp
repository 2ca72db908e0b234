#include "capture/decode/hex_text.h"

#include <algorithm>

QString hexText(const QByteArray& bytes, int limit)
{
    if (bytes.isEmpty())
        return {};
    QString text = QString::fromLatin1(bytes.left(std::max(limit, 0)).toHex(' ')).toUpper();
    if (bytes.size() > limit)
        text += QLatin1String(" ...");
    return text;
}

QString hexNumber(quint64 value, int digits)
{
    return QStringLiteral("0x%1").arg(value, digits, 16, QLatin1Char('0'));
}
