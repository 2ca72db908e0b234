// scripted_capture_server.h: a capture server that a test drives by hand, on a name of its own.
#pragma once

#include "capture/channel/capture_client.h"

#include <QCoreApplication>
#include <QLocalServer>
#include <QLocalSocket>
#include <QtTest>

#include <memory>

namespace tests {

class CaptureServer : public QObject
{
public:
    /// A process id that no process of this system has, so that names do not meet those of other test programs.
    static qint64 nextProcessId()
    {
        static qint64 s_count = 0;
        return 4'000'000'000LL + QCoreApplication::applicationPid() * 1000 + ++s_count;
    }

    /// Serves the name of its own process, as whoever looks for it checks.
    explicit CaptureServer(qint64 processId = QCoreApplication::applicationPid()) : m_processId(processId) { listen(); }

    void listen()
    {
        m_server = std::make_unique<QLocalServer>();
        QVERIFY2(m_server->listen(UsbIPCaptureClient::serverNameOf(m_processId)), qPrintable(m_server->errorString()));
        connect(m_server.get(), &QLocalServer::newConnection, this, [this] {
            m_socket = m_server->nextPendingConnection();
            connect(m_socket, &QLocalSocket::readyRead, this, [this] { m_received += m_socket->readAll(); });
        });
    }
    void stop()
    {
        m_socket = nullptr; // lives in the server
        m_server.reset();
    }

    qint64 processId() const { return m_processId; }
    bool hasClient() const { return m_socket && m_socket->state() == QLocalSocket::ConnectedState; }
    QByteArray takeReceived() { return std::exchange(m_received, {}); }
    const QByteArray& received() const { return m_received; }
    void send(const QByteArray& bytes)
    {
        m_socket->write(bytes);
        m_socket->flush();
    }

private:
    qint64 m_processId;
    std::unique_ptr<QLocalServer> m_server;
    QLocalSocket* m_socket = nullptr;
    QByteArray m_received;
};

} // namespace tests
