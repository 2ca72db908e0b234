#include "tests/support/loopback_server.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <future>
#include <utility>

LoopbackServer::LoopbackServer(QByteArray answer, Ending ending, QByteArrayList before)
    : m_answer(std::move(answer))
    , m_before(std::move(before))
    , m_ending(ending)
{
    std::promise<int> port;
    auto announced = port.get_future();
    m_thread = std::thread([this, port = std::move(port)]() mutable {
        QTcpServer server;
        server.listen(QHostAddress::LocalHost);
        port.set_value(server.serverPort());
        while (!m_stop) {
            if (server.waitForNewConnection(20))
                serve(server);
        }
    });
    m_port = announced.get();
}

LoopbackServer::~LoopbackServer()
{
    m_stop = true;
    m_thread.join();
}

void LoopbackServer::serve(QTcpServer& server)
{
    const std::unique_ptr<QTcpSocket> client(server.nextPendingConnection());
    const QByteArray answer = m_before.value(m_clients, m_answer);
    ++m_clients;
    while (!m_stop && client->state() == QAbstractSocket::ConnectedState && !client->waitForReadyRead(20)) {
    }
    client->write(answer);
    while (!m_stop && client->bytesToWrite() > 0 && client->waitForBytesWritten(100)) {
    }
    if (m_ending == Ending::Stall) {
        while (!m_stop && client->state() == QAbstractSocket::ConnectedState)
            client->waitForReadyRead(20);
    } else if (m_ending == Ending::Reset) {
        client->abort();
    } else {
        client->disconnectFromHost();
        if (client->state() != QAbstractSocket::UnconnectedState)
            client->waitForDisconnected(1000);
    }
}

QString LoopbackServer::url(const char* scheme, const char* path) const
{
    return QStringLiteral("%1://127.0.0.1:%2%3")
        .arg(QString::fromLatin1(scheme))
        .arg(m_port)
        .arg(QString::fromLatin1(path));
}
