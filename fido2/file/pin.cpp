#include "fido2/file/pin.h"

#include <QCryptographicHash>
#include <QVector>

int characterCount(const QString& pin)
{
    return pin.toUcs4().size();
}

PinCheck checkPin(const QString& pin, const QString& confirmation)
{
    if (pin.isEmpty())
        return PinCheck::Empty;
    const int length = characterCount(pin);
    if (length < kShortestPin || length > kLongestPin)
        return PinCheck::WrongLength;
    return pin == confirmation ? PinCheck::Ok : PinCheck::Mismatch;
}

QString pinHash(const QString& pin)
{
    constexpr int kKeptBytes = 16;
    QByteArray bytes = pin.toUtf8();
    const QByteArray digest = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
    bytes.fill('\0');
    return QString::fromLatin1(digest.left(kKeptBytes).toHex());
}
