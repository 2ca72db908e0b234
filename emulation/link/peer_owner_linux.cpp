#include "emulation/link/peer_owner.h"

#include <QFile>

#include <optional>

#include <arpa/inet.h>
#include <unistd.h>

namespace {

/// As the kernel's tables of connections write an IPv4 address: the word as it lies in memory, and the port.
QByteArray tableText(const QHostAddress& address, quint16 port)
{
    return QStringLiteral("%1:%2")
        .arg(htonl(address.toIPv4Address()), 8, 16, QLatin1Char('0'))
        .arg(port, 4, 16, QLatin1Char('0'))
        .toUpper()
        .toLatin1();
}

/// The user of the connection in that table, whose addresses end with these texts: in the table of IPv6 an IPv4 address
/// is the end of a longer one. An end that its program has closed belongs to nobody any more, but the table of some
/// kernels says root: such a line, which has no inode, tells nothing.
std::optional<uid_t> userIn(const QString& path, const QByteArray& own, const QByteArray& peer)
{
    QFile table(path);
    if (!table.open(QIODevice::ReadOnly))
        return {};
    const QList<QByteArray> lines = table.readAll().split('\n');
    for (const QByteArray& line : lines) {
        const QList<QByteArray> words = line.simplified().split(' ');
        if (words.size() > 9 && words[1].endsWith(own) && words[2].endsWith(peer) && words[9].toULongLong() != 0)
            return words[7].toUInt();
    }
    return {};
}

} // namespace

PeerOwner ownerOfPeer(const QHostAddress& peer, quint16 peerPort, const QHostAddress& local, quint16 localPort)
{
    const QByteArray own = tableText(peer, peerPort);
    const QByteArray other = tableText(local, localPort);
    auto user = userIn(QStringLiteral("/proc/net/tcp"), own, other);
    if (!user)
        user = userIn(QStringLiteral("/proc/net/tcp6"), own, other);
    if (!user)
        return PeerOwner::Unknown;
    if (*user == ::geteuid())
        return PeerOwner::SameUser;
    return *user == 0 ? PeerOwner::Administrator : PeerOwner::Other;
}
