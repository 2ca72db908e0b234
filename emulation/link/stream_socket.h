// stream_socket.h: one connected stream socket that never blocks.
#pragma once

#include "emulation/link/message_parser.h"

#include <QHostAddress>

#include <optional>

/// What the system calls a socket.
using SocketDescriptor = qintptr;

/// A piece of memory that bytes are written from.
struct ConstRoom
{
    const char* data = nullptr;
    std::size_t size = 0;
};

/// What a read or a write did: moved some bytes, could do nothing now, or found the connection at its end.
struct Moved
{
    enum class Outcome
    {
        Some,
        Later,
        Ended
    };
    Outcome outcome = Outcome::Later;
    std::size_t size = 0;
};

/// One end of an IPv4 connection.
struct SocketEnd
{
    QHostAddress address;
    quint16 port = 0;
};

/// Owns its descriptor. Implemented per system.
class StreamSocket
{
public:
    static constexpr SocketDescriptor kNone = -1;
    static constexpr std::size_t kMostPieces = 16; ///< of one write

    StreamSocket() = default;
    /// Takes the descriptor over and makes it non-blocking; small writes are not held back.
    explicit StreamSocket(SocketDescriptor descriptor);
    StreamSocket(StreamSocket&& other) noexcept;
    StreamSocket& operator=(StreamSocket&& other) noexcept;
    ~StreamSocket();

    /// Begins to connect; the socket becomes writable once that is done, and connectionFault() says how it went. An
    /// empty socket when it cannot even begin.
    static StreamSocket connecting(const QHostAddress& ipv4, quint16 port);
    /// Empty when it is connected.
    QString connectionFault() const;

    explicit operator bool() const { return m_descriptor != kNone; }
    SocketDescriptor descriptor() const { return m_descriptor; }

    /// Of a TCP connection over IPv4.
    SocketEnd localEnd() const;
    SocketEnd peerEnd() const;

    Moved read(const std::array<usbip::Room, 2>& rooms);
    /// At most kMostPieces.
    Moved write(const std::vector<ConstRoom>& pieces);

    /// That many bytes are known to be on their way, and none of them is of use before the last has come: the socket
    /// need not become readable for less. Where the system can wait so, a large transfer that comes in small pieces
    /// wakes the program only a few times. 0: any byte counts. The end of the connection always does.
    void awaitBytes(std::size_t bytes);

private:
    SocketDescriptor m_descriptor = kNone;
    bool m_isTcp = false;
    int m_awaited = 1; ///< bytes that make it readable
};
