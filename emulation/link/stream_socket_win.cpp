#include "emulation/link/stream_socket.h"

#include <utility>

#include <winsock2.h>

namespace {

Moved outcomeOf(int result, DWORD size)
{
    if (result == 0 && size > 0)
        return {Moved::Outcome::Some, size};
    const bool later = result != 0 && WSAGetLastError() == WSAEWOULDBLOCK;
    return {later ? Moved::Outcome::Later : Moved::Outcome::Ended, 0};
}

SOCKET handle(SocketDescriptor descriptor)
{
    return static_cast<SOCKET>(descriptor);
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
    u_long nonBlocking = 1;
    ioctlsocket(handle(descriptor), FIONBIO, &nonBlocking);
    const BOOL on = TRUE;
    setsockopt(handle(descriptor), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
}

StreamSocket::StreamSocket(StreamSocket&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, kNone))
{}

StreamSocket& StreamSocket::operator=(StreamSocket&& other) noexcept
{
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
}

StreamSocket::~StreamSocket()
{
    if (m_descriptor != kNone)
        closesocket(handle(m_descriptor));
}

StreamSocket StreamSocket::connecting(const QHostAddress& ipv4, quint16 port)
{
    const SOCKET descriptor = WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED);
    if (descriptor == INVALID_SOCKET)
        return {};
    StreamSocket socket(static_cast<SocketDescriptor>(descriptor));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(ipv4.toIPv4Address());
    const int result = connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    return result == 0 || WSAGetLastError() == WSAEWOULDBLOCK ? std::move(socket) : StreamSocket();
}

QString StreamSocket::connectionFault() const
{
    int error = 0;
    int size = sizeof error;
    getsockopt(handle(m_descriptor), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size);
    return error == 0 ? QString() : QStringLiteral("error %1").arg(error);
}

SocketEnd StreamSocket::localEnd() const
{
    sockaddr_in address{};
    int size = sizeof address;
    return endOf(::getsockname(handle(m_descriptor), reinterpret_cast<sockaddr*>(&address), &size), address);
}

SocketEnd StreamSocket::peerEnd() const
{
    sockaddr_in address{};
    int size = sizeof address;
    return endOf(::getpeername(handle(m_descriptor), reinterpret_cast<sockaddr*>(&address), &size), address);
}

Moved StreamSocket::read(const std::array<usbip::Room, 2>& rooms)
{
    std::array<WSABUF, 2> buffers{WSABUF{static_cast<ULONG>(rooms[0].size), rooms[0].data},
                                  WSABUF{static_cast<ULONG>(rooms[1].size), rooms[1].data}};
    DWORD size = 0;
    DWORD flags = 0;
    const int result =
        WSARecv(handle(m_descriptor), buffers.data(), rooms[1].size > 0 ? 2 : 1, &size, &flags, nullptr, nullptr);
    return outcomeOf(result, size);
}

void StreamSocket::awaitBytes(std::size_t)
{
    // Windows tells of every byte.
}

Moved StreamSocket::write(const std::vector<ConstRoom>& pieces)
{
    std::array<WSABUF, kMostPieces> buffers;
    for (std::size_t i = 0; i < pieces.size(); ++i)
        buffers[i] = {static_cast<ULONG>(pieces[i].size), const_cast<char*>(pieces[i].data)};
    DWORD size = 0;
    const int result =
        WSASend(handle(m_descriptor), buffers.data(), static_cast<DWORD>(pieces.size()), &size, 0, nullptr, nullptr);
    return outcomeOf(result, size);
}
