#include "emulation/link/stream_socket.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

Moved outcomeOf(ssize_t size)
{
    if (size > 0)
        return {Moved::Outcome::Some, static_cast<std::size_t>(size)};
    const bool later = size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
    return {later ? Moved::Outcome::Later : Moved::Outcome::Ended, 0};
}

SocketEnd endOf(int result, const sockaddr_in& address)
{
    if (result != 0 || address.sin_family != AF_INET)
        return {};
    return {QHostAddress(ntohl(address.sin_addr.s_addr)), ntohs(address.sin_port)};
}

} // namespace

StreamSocket::StreamSocket(SocketDescriptor descriptor) : m_descriptor(descriptor)
{
    const int socket = static_cast<int>(descriptor);
    ::fcntl(socket, F_SETFL, ::fcntl(socket, F_GETFL) | O_NONBLOCK);
    const int on = 1;
    // Refused by a socket pair, which needs none.
    m_isTcp = ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) == 0;
}

StreamSocket::StreamSocket(StreamSocket&& other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, kNone))
    , m_isTcp(other.m_isTcp)
    , m_awaited(other.m_awaited)
{}

StreamSocket& StreamSocket::operator=(StreamSocket&& other) noexcept
{
    std::swap(m_descriptor, other.m_descriptor);
    std::swap(m_isTcp, other.m_isTcp);
    std::swap(m_awaited, other.m_awaited);
    return *this;
}

StreamSocket::~StreamSocket()
{
    if (m_descriptor != kNone)
        ::close(static_cast<int>(m_descriptor));
}

StreamSocket StreamSocket::connecting(const QHostAddress& ipv4, quint16 port)
{
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return {};
    StreamSocket socket(descriptor);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(ipv4.toIPv4Address());
    const int result = ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    return result == 0 || errno == EINPROGRESS ? std::move(socket) : StreamSocket();
}

QString StreamSocket::connectionFault() const
{
    int error = 0;
    socklen_t size = sizeof error;
    ::getsockopt(static_cast<int>(m_descriptor), SOL_SOCKET, SO_ERROR, &error, &size);
    return error == 0 ? QString() : QString::fromLocal8Bit(std::strerror(error));
}

SocketEnd StreamSocket::localEnd() const
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    return endOf(::getsockname(static_cast<int>(m_descriptor), reinterpret_cast<sockaddr*>(&address), &size), address);
}

SocketEnd StreamSocket::peerEnd() const
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    return endOf(::getpeername(static_cast<int>(m_descriptor), reinterpret_cast<sockaddr*>(&address), &size), address);
}

Moved StreamSocket::read(const std::array<usbip::Room, 2>& rooms)
{
    std::array<iovec, 2> vectors{iovec{rooms[0].data, rooms[0].size}, iovec{rooms[1].data, rooms[1].size}};
    return outcomeOf(::readv(static_cast<int>(m_descriptor), vectors.data(), rooms[1].size > 0 ? 2 : 1));
}

void StreamSocket::awaitBytes(std::size_t bytes)
{
    constexpr std::size_t kWorthIt = 16 * 1024; // below it, asking costs as much as waking up
    constexpr std::size_t kAtOnce = 128 * 1024; // more than that is read while the rest is on its way
    const int awaited = bytes < kWorthIt ? 1 : static_cast<int>(std::min(bytes, kAtOnce));
    if (!m_isTcp || awaited == m_awaited)
        return; // poll() wakes at any byte of a socket pair
    if (::setsockopt(static_cast<int>(m_descriptor), SOL_SOCKET, SO_RCVLOWAT, &awaited, sizeof awaited) == 0)
        m_awaited = awaited;
}

Moved StreamSocket::write(const std::vector<ConstRoom>& pieces)
{
    std::array<iovec, kMostPieces> vectors;
    for (std::size_t i = 0; i < pieces.size(); ++i)
        vectors[i] = {const_cast<char*>(pieces[i].data), pieces[i].size};
    msghdr message{};
    message.msg_iov = vectors.data();
    message.msg_iovlen = pieces.size();
    return outcomeOf(::sendmsg(static_cast<int>(m_descriptor), &message, MSG_NOSIGNAL));
}
