#include "emulation/channels/command_server.h"

#include "devices/device_commands.h"
#include "emulation/channels/local_service.h"

#include <QLocalSocket>
#include <QPointer>

namespace {

constexpr qint64 kLongestCommand = 64 * 1024; // bytes

} // namespace

CommandServer::CommandServer(qint64 processId, Run run) : m_name(deviceCommandServer(processId)), m_run(std::move(run))
{
    connect(&m_server, &QLocalServer::newConnection, this, &CommandServer::acceptClients);
}

CommandServer::~CommandServer()
{
    const auto clients = m_server.findChildren<QLocalSocket*>();
    for (QLocalSocket* client : clients)
        client->disconnect();
}

QString CommandServer::start()
{
    return listenLocally(m_server, m_name);
}

void CommandServer::acceptClients()
{
    while (QLocalSocket* client = nextLocalClient(m_server)) {
        client->setReadBufferSize(kLongestCommand + 1);
        connect(client, &QLocalSocket::readyRead, this, [this, client] { readCommand(*client); });
        connect(client, &QLocalSocket::disconnected, this, [this, client] { m_waiting.erase(client); });
    }
}

void CommandServer::readCommand(QLocalSocket& client)
{
    if (m_waiting.count(&client) != 0)
        return;
    if (!client.canReadLine()) {
        if (client.bytesAvailable() > kLongestCommand)
            client.abort();
        return;
    }
    const QString command = QString::fromUtf8(client.readLine()).trimmed();
    m_waiting.insert(&client);
    if (command.isEmpty())
        return answer(client, QStringLiteral("ERROR: no command"));
    m_run(command, [this, alive = QPointer<QLocalSocket>(&client)](const QString& line) {
        if (alive)
            answer(*alive, line);
    });
}

void CommandServer::answer(QLocalSocket& client, const QString& line)
{
    if (m_waiting.erase(&client) == 0)
        return;
    if (client.bytesToWrite() > kMostWaitingForClient)
        return client.abort();
    client.write(line.toUtf8() + '\n');
    // The next line, if it is there already: not from within the answer to this one.
    QMetaObject::invokeMethod(
        &client, [this, &client] { readCommand(client); }, Qt::QueuedConnection);
}
