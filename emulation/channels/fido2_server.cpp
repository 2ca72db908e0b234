#include "emulation/channels/fido2_server.h"

#include "devices/one_write.h"

#include <QJsonDocument>
#include <QLocalSocket>

#include <chrono>
#include <utility>

namespace {

constexpr std::chrono::seconds kRepeatInterval{2};
constexpr qint64 kLargestMessage = 1024 * 1024; // bytes
constexpr int kEarlierWriteTimeoutMs = 500;

} // namespace

Fido2Server::Fido2Server(qint64 processId, QObject* parent)
    : QObject(parent)
    , m_name(QStringLiteral("Fido2Server_%1").arg(processId))
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, &Fido2Server::takeConnection);
    m_repeat.setInterval(kRepeatInterval);
    connect(&m_repeat, &QTimer::timeout, this, &Fido2Server::writeRequest);
}

QString Fido2Server::listen()
{
    QLocalServer::removeServer(m_name); // left by a process that was killed, whose id is ours now
    return m_server.listen(m_name)
               ? QString()
               : QStringLiteral("The server \"%1\" does not listen: %2").arg(m_name, m_server.errorString());
}

bool Fido2Server::ask(const QString& operation, const QJsonObject& data, Answered answered)
{
    if (m_answered)
        return false;
    m_answered = std::move(answered);
    m_request = QJsonDocument(QJsonObject{{QStringLiteral("type"), QStringLiteral("user_confirmation_request")},
                                          {QStringLiteral("operation"), operation},
                                          {QStringLiteral("data"), data}})
                    .toJson();
    m_isWritten = false;
    writeRequest();
    m_repeat.start();
    return true;
}

void Fido2Server::withdraw()
{
    if (!m_answered)
        return;
    m_repeat.stop();
    m_answered = nullptr;
    if (m_isWritten)
        ++m_givenUp;
}

void Fido2Server::writeRequest()
{
    m_isWritten = writeMessage(m_request) || m_isWritten;
}

void Fido2Server::takeConnection()
{
    while (QLocalSocket* next = m_server.nextPendingConnection()) {
        if (m_program)
            m_program->deleteLater();
        m_program = next;
        next->setReadBufferSize(kLargestMessage + 1);
        auto* reader = new OneWriteReader(
            *next, kLargestMessage, [this, next](const QByteArray& bytes) { takeMessage(next, bytes); }, next);
        connect(next, &QLocalSocket::readyRead, reader, &OneWriteReader::read);
        connect(next, &QLocalSocket::disconnected, this, [this, next] {
            if (m_program == next)
                m_program = nullptr;
            next->deleteLater();
        });
    }
}

void Fido2Server::takeMessage(const QLocalSocket* from, const QByteArray& bytes)
{
    if (from != m_program)
        return;
    const QJsonObject message = QJsonDocument::fromJson(bytes).object();
    const QString type = message.value(QStringLiteral("type")).toString();
    if (type == QStringLiteral("ping"))
        writeMessage(QJsonDocument(QJsonObject{{QStringLiteral("type"), QStringLiteral("pong")}}).toJson());
    if (type != QStringLiteral("user_confirmation_response"))
        return;
    if (m_givenUp > 0) {
        --m_givenUp;
        return;
    }
    if (!m_answered)
        return;
    m_repeat.stop();
    const Answered answered = std::exchange(m_answered, nullptr);
    answered(message.value(QStringLiteral("confirmed")).toBool(), message.value(QStringLiteral("data")).toObject());
}

bool Fido2Server::writeMessage(const QByteArray& bytes)
{
    // Two messages must not leave as one write, and on Windows an earlier one may still be on its way. What cannot be
    // written now is a request that is repeated, or a pong that no one misses.
    if (m_program && m_program->bytesToWrite() > 0)
        m_program->waitForBytesWritten(kEarlierWriteTimeoutMs); // may find the connection lost
    if (!m_program || m_program->bytesToWrite() > 0)
        return false;
    m_program->write(bytes);
    m_program->flush();
    return true;
}
