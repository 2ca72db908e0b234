// loopback_server.h: a TCP server on this machine that answers one way, on a thread of its own.
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <atomic>
#include <thread>

/// Serves one client after another until it is destroyed.
class LoopbackServer
{
public:
    enum class Ending
    {
        Close,
        Reset,
        Stall
    };

    /// Each client gets `answer` once it has asked for something, and then the ending. An empty answer with Stall is a
    /// server that accepts and never answers. The first clients get those of `before` in turn instead.
    LoopbackServer(QByteArray answer, Ending ending, QByteArrayList before = {});
    ~LoopbackServer();

    QString url(const char* scheme, const char* path) const;
    int clients() const { return m_clients; }

private:
    void serve(class QTcpServer& server);

    const QByteArray m_answer;
    const QByteArrayList m_before;
    const Ending m_ending;
    int m_port = 0;
    std::atomic<int> m_clients{0};
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

/// A web server's answer that ends with its connection.
inline QByteArray httpAnswer(const QByteArray& type, const QByteArray& body)
{
    return "HTTP/1.1 200 OK\r\nContent-Type: " + type + "\r\nConnection: close\r\n\r\n" + body;
}
