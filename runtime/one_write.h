// one_write.h: how either end of a local channel gets a message that the other end wrote at once.
#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QIODevice>
#include <QObject>
#include <QTimer>

#include <functional>

/// Hands on what the other end wrote at once. A message has no length and no end mark, so what one read delivers counts
/// as one message. Only a read of 4,096 bytes or more that is no JSON object yet is kept: a system hands over a larger
/// write in pieces. The pieces are joined until they make an object, no further one follows within 50 ms, half a second
/// is over, or they pass `most` bytes. Never blocks. Lives on the channel's thread.
class OneWriteReader : public QObject
{
public:
    static constexpr int kPieceTimeoutMs = 50;

    /// Receives one write, at most `most` + 1 bytes of it. May destroy the reader and the channel.
    using Take = std::function<void(const QByteArray& bytes)>;

    /// `channel` outlives the reader or is its parent.
    OneWriteReader(QIODevice& channel, qint64 most, Take take, QObject* parent, int pieceTimeoutMs = kPieceTimeoutMs);

    /// To be called whenever there is something to read: takes it and, if it is whole, hands it on.
    void read();

private:
    void deliver();

    QIODevice& m_channel;
    qint64 m_most;
    Take m_take;
    QByteArray m_pieces;
    QTimer m_nextPiece;
    QDeadlineTimer m_lastPiece; ///< of what is in m_pieces
};
