#include "emulation/channels/command_server.h"

#include "devices/device_commands.h"

#include <QLocalSocket>
#include <QPointer>

namespace {

constexpr qint64 kLongestCommand = 64 * 1024; // bytes

} // namespace

CommandServer::CommandServer(qint64 processId, Run run) : m_name(deviceCommandServer(processId)), m_run(std::move(run))
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
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
    QLocalServer::removeServer(m_name); // left by a killed process that had this id
    return m_server.listen(m_name)
               ? QString()
               : QStringLiteral("The server \"%1\" does not listen: %2").arg(m_name, m_server.errorString());
}

void CommandServer::acceptClients()
{
    while (QLocalSocket* client = m_server.nextPendingConnection()) {
        connect(client, &QLocalSocket::readyRead, this, [this, client] { readCommand(*client); });
        connect(client, &QLocalSocket::disconnected, this, [this, client] {
            m_waiting.erase(client);
            client->deleteLater();
        });
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
    client.write(line.toUtf8() + '\n');
    // The next line, if it is there already: not from within the answer to this one.
    QMetaObject::invokeMethod(
        &client, [this, &client] { readCommand(client); }, Qt::QueuedConnection);
}
