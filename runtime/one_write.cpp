#include "runtime/one_write.h"

#include <QJsonDocument>

#include <algorithm>
#include <cctype>
#include <utility>

namespace {

constexpr int kSmallestPiece = 4096;
constexpr int kWriteTimeoutMs = 500;

bool isOneMessage(const QByteArray& bytes)
{
    // Only what ends like an object is worth parsing.
    const auto last =
        std::find_if(bytes.rbegin(), bytes.rend(), [](char letter) { return !std::isspace(uchar(letter)); });
    return last != bytes.rend() && *last == '}' && QJsonDocument::fromJson(bytes).isObject();
}

} // namespace

OneWriteReader::OneWriteReader(QIODevice& channel, qint64 most, Take take, QObject* parent, int pieceTimeoutMs)
    : QObject(parent)
    , m_channel(channel)
    , m_most(most)
    , m_take(std::move(take))
{
    m_nextPiece.setSingleShot(true);
    m_nextPiece.setInterval(pieceTimeoutMs);
    connect(&m_nextPiece, &QTimer::timeout, this, &OneWriteReader::deliver);
}

void OneWriteReader::read()
{
    const bool isFirst = m_pieces.isEmpty();
    m_pieces += m_channel.read(m_most + 1 - m_pieces.size());
    if (isFirst)
        m_lastPiece.setRemainingTime(kWriteTimeoutMs);
    const bool mayGoOn = m_pieces.size() >= kSmallestPiece && m_pieces.size() <= m_most && !m_lastPiece.hasExpired();
    if (mayGoOn && !isOneMessage(m_pieces))
        m_nextPiece.start();
    else
        deliver();
}

void OneWriteReader::deliver()
{
    m_nextPiece.stop();
    const QByteArray bytes = std::exchange(m_pieces, {});
    const Take take = m_take; // the reader may not outlive the call
    if (!bytes.isEmpty())
        take(bytes);
}
