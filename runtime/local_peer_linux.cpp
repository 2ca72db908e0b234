#include "runtime/local_peer.h"

#include <QDir>
#include <QFile>

#include <array>

#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString userText(uid_t user)
{
    std::array<char, 4096> names{};
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(user, &entry, names.data(), names.size(), &found) == 0 && found)
        return QStringLiteral("the user \"%1\"").arg(QString::fromLocal8Bit(entry.pw_name));
    return QStringLiteral("the user with the number %1").arg(user);
}

/// The process that connected, or that listened when the connection was made.
LocalPeer peerOf(qintptr socketDescriptor)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(static_cast<int>(socketDescriptor), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        return {{}, PeerOwner::Unknown, QStringLiteral("somebody unknown")};
    const PeerOwner others = peer.uid == 0 ? PeerOwner::Administrator : PeerOwner::Other;
    return {peer.pid > 0 ? std::optional<qint64>(peer.pid) : std::nullopt,
            peer.uid == ::geteuid() ? PeerOwner::SameUser : others, userText(peer.uid)};
}

/// Where Qt's local servers lie.
QString pathOf(const QString& name)
{
    return QDir(QDir::tempPath()).filePath(name);
}

} // namespace

LocalPeer localServer(qintptr socketDescriptor)
{
    return peerOf(socketDescriptor);
}

LocalPeer localClient(qintptr socketDescriptor)
{
    return peerOf(socketDescriptor);
}

QString claimServerName(const QString& name)
{
    const QString path = pathOf(name);
    const QByteArray place = QFile::encodeName(path);
    struct stat found = {};
    if (::lstat(place.constData(), &found) != 0)
        return {};
    if (!S_ISSOCK(found.st_mode))
        return QStringLiteral("what lies at %1 is no socket").arg(path);
    if (found.st_uid != ::geteuid())
        return QStringLiteral("the socket %1 belongs to %2").arg(path, userText(found.st_uid));
    ::unlink(place.constData());
    return {};
}

void removeLeftSocket(const QString& name)
{
    const QByteArray place = QFile::encodeName(pathOf(name));
    struct stat found = {};
    if (::lstat(place.constData(), &found) == 0 && S_ISSOCK(found.st_mode) && found.st_uid == ::geteuid())
        ::unlink(place.constData());
}
