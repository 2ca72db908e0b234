#include "runtime/local_peer.h"

#include <sys/socket.h>

std::optional<qint64> localServerProcess(qintptr socketDescriptor)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(static_cast<int>(socketDescriptor), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.pid <= 0)
        return std::nullopt;
    return peer.pid;
}
