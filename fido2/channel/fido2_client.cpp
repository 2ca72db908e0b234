#include "fido2/channel/fido2_client.h"

#include "fido2/channel/fido2_message.h"
#include "fido2/file/log.h"
#include "runtime/local_peer.h"
#include "runtime/one_write.h"

#include <QDateTime>
#include <QJsonDocument>

#include <limits>

namespace {

constexpr int kConnectTimeoutMs = 5000;
constexpr int kDisconnectTimeoutMs = 1000;
constexpr int kRefuseTimeoutMs = 30000;
constexpr int kMostAttempts = 5; // the last of them attempts nothing

} // namespace

Fido2Client::Fido2Client(QObject* parent, int reconnectIntervalMs) : QObject(parent)
{
    m_reconnectTimer.setInterval(reconnectIntervalMs);
    connect(&m_reconnectTimer, &QTimer::timeout, this, &Fido2Client::attemptReconnect);
}

bool Fido2Client::connectToServer(const QString& serverName, std::optional<qint64> process)
{
    if (m_connected)
        return true;
    m_serverName = serverName;
    m_serverProcess = process;
    if (!m_socket)
        createSocket();
    m_socket->connectToServer(serverName, QIODevice::ReadWrite);
    return m_socket->waitForConnected(kConnectTimeoutMs);
}

void Fido2Client::createSocket()
{
    m_socket = new QLocalSocket(this);
    m_socket->setReadBufferSize(kLargestMessage + 1);
    connect(m_socket, &QLocalSocket::connected, this, &Fido2Client::handleConnected);
    connect(m_socket, &QLocalSocket::disconnected, this, &Fido2Client::handleDisconnected);
    m_reader = new OneWriteReader(
        *m_socket, kLargestMessage, [this](const QByteArray& bytes) { handleMessage(bytes); }, m_socket);
    connect(m_socket, &QLocalSocket::readyRead, this, &Fido2Client::handleServerData);
    connect(m_socket, &QLocalSocket::errorOccurred, this, &Fido2Client::handleError);
}

void Fido2Client::disconnectFromServer()
{
    m_stopping = true;
    if (m_socket) {
        m_socket->disconnectFromServer();
        if (m_socket->state() != QLocalSocket::UnconnectedState)
            m_socket->waitForDisconnected(kDisconnectTimeoutMs);
    }
    m_connected = false;
    emit connectionStatusChanged(false);
}

bool Fido2Client::sendMessage(const QJsonObject& message)
{
    if (!m_socket || m_socket->state() != QLocalSocket::ConnectedState)
        return false;
    const QByteArray bytes = QJsonDocument(message).toJson(QJsonDocument::Indented);
    const bool written = m_socket->write(bytes) == bytes.size();
    m_socket->flush(); // two messages of one event-loop turn must not leave as one write
    return written;
}

/// Nothing was sent to it or read from it; the attempts go on, as if nobody had answered.
bool Fido2Client::refusesServer()
{
    const QString fault = faultOfServer(m_socket->socketDescriptor(), m_serverName, m_serverProcess);
    if (fault.isEmpty())
        return false;
    qCWarning(fido2Log).noquote() << fault;
    m_isRefusing = true;
    m_socket->abort();
    m_isRefusing = false;
    return true;
}

void Fido2Client::handleConnected()
{
    if (refusesServer())
        return;
    qCDebug(fido2Log) << "Connected to" << m_serverName;
    m_connected = true;
    m_reconnectAttempts = 0;
    if (m_stopping) {
        m_socket->disconnectFromServer();
        if (m_socket->state() != QLocalSocket::UnconnectedState)
            m_socket->waitForDisconnected(kRefuseTimeoutMs);
        return;
    }
    emit connectionStatusChanged(true);
    sendMessage(pingMessage(QDateTime::currentMSecsSinceEpoch()));
}

void Fido2Client::handleDisconnected()
{
    if (m_isRefusing)
        return;
    m_connected = false;
    emit connectionStatusChanged(false);
    if (!m_stopping && m_reconnectAttempts < kMostAttempts)
        m_reconnectTimer.start();
}

void Fido2Client::handleServerData()
{
    if (m_reader)
        m_reader->read();
}

void Fido2Client::handleMessage(const QByteArray& bytes)
{
    if (bytes.size() > kLargestMessage) {
        qCWarning(fido2Log) << "FIDO2 message of more than" << kLargestMessage << "bytes dropped, from" << m_serverName;
        return;
    }
    qCDebug(fido2Log) << bytes.size() << "bytes received from" << m_serverName;
    if (const auto question = parseConfirmationQuestion(bytes))
        emit userConfirmationRequestReceived(question->operation, question->data);
}

void Fido2Client::handleError(QLocalSocket::LocalSocketError)
{
    // Every loss of a connection comes through disconnected() as well.
}

void Fido2Client::attemptReconnect()
{
    if (m_connected || m_stopping)
        return;
    if (m_reconnectAttempts < std::numeric_limits<std::int32_t>::max())
        ++m_reconnectAttempts;
    qCDebug(fido2Log) << "Attempt" << m_reconnectAttempts << "to reach" << m_serverName << "again";
    if (m_reconnectAttempts < kMostAttempts)
        connectToServer(m_serverName, m_serverProcess);
}
