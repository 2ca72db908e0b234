#include "emulation/channels/local_service.h"

#include "runtime/local_peer.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QLoggingCategory>

namespace {

/// Empty when it may be served.
QString faultOf(const QLocalServer& server, const QLocalSocket& client)
{
    if (server.findChildren<QLocalSocket*>().size() > kMostLocalClients)
        return QStringLiteral("A client of %1 was refused: %2 others are connected")
            .arg(server.serverName())
            .arg(kMostLocalClients);
    return faultOfClient(client.socketDescriptor(), server.serverName());
}

} // namespace

QString listenLocally(QLocalServer& server, const QString& name)
{
    QString reason = claimServerName(name);
    server.setSocketOptions(QLocalServer::UserAccessOption);
    if (reason.isEmpty() && !server.listen(name))
        reason = server.errorString();
    return reason.isEmpty() ? QString() : QStringLiteral("The server \"%1\" does not listen: %2").arg(name, reason);
}

QLocalSocket* nextLocalClient(QLocalServer& server)
{
    while (QLocalSocket* client = server.nextPendingConnection()) {
        QObject::connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
        if (client->state() == QLocalSocket::UnconnectedState) { // has left before it was looked at
            client->deleteLater();
            continue;
        }
        const QString fault = faultOf(server, *client);
        if (fault.isEmpty())
            return client;
        qWarning().noquote() << fault;
        client->abort();
        delete client; // gives its descriptor back now
    }
    return nullptr;
}
