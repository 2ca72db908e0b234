#include "runtime/local_peer.h"

QString faultOfServer(qintptr socketDescriptor, const QString& name, std::optional<qint64> process)
{
    const LocalPeer peer = localServer(socketDescriptor);
    if (peer.owner != PeerOwner::SameUser)
        return QStringLiteral("Another process serves %1: it is run by %2").arg(name, peer.user);
    if (process && peer.processId != process)
        return QStringLiteral("Another process serves %1").arg(name);
    return {};
}

QString faultOfClient(qintptr socketDescriptor, const QString& name)
{
    const LocalPeer peer = localClient(socketDescriptor);
    if (peer.owner == PeerOwner::SameUser || peer.owner == PeerOwner::Administrator)
        return {};
    return QStringLiteral("A client of %1 was refused: it is run by %2").arg(name, peer.user);
}

void removeLeftSockets(qint64 processId)
{
    for (const char* server :
         {"Fido2Server_", "Fido2Control_", "UsbIPCaptureServer_", "UsbDeviceCommands_", "CmdServer_"})
        removeLeftSocket(QLatin1String(server) + QString::number(processId));
}
