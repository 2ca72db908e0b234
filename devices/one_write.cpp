#include "devices/one_write.h"

#include <QDeadlineTimer>
#include <QIODevice>
#include <QJsonDocument>

#include <algorithm>
#include <cctype>

namespace {

constexpr int kSmallestPiece = 4096;
constexpr int kPieceTimeoutMs = 50;
constexpr int kWriteTimeoutMs = 500;

bool isOneMessage(const QByteArray& bytes)
{
    // Only what ends like an object is worth parsing.
    const auto last =
        std::find_if(bytes.rbegin(), bytes.rend(), [](char letter) { return !std::isspace(uchar(letter)); });
    return last != bytes.rend() && *last == '}' && QJsonDocument::fromJson(bytes).isObject();
}

} // namespace

QByteArray readOneWrite(QIODevice& channel, qint64 most)
{
    const QDeadlineTimer end(kWriteTimeoutMs);
    QByteArray bytes = channel.read(most + 1);
    while (bytes.size() >= kSmallestPiece && bytes.size() <= most && !end.hasExpired() && !isOneMessage(bytes) &&
           channel.waitForReadyRead(kPieceTimeoutMs))
        bytes += channel.read(most + 1 - bytes.size());
    return bytes;
}
