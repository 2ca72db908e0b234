// fido2_client.h: the channel to one security key's device process, which serves the local socket "Fido2Server_PID".
#pragma once

#include <QJsonObject>
#include <QLocalSocket>
#include <QObject>
#include <QString>
#include <QTimer>

#include <cstdint>
#include <optional>

class OneWriteReader;

/// GUI thread only; connecting and disconnecting block as their comments say. A message is one JSON object in one
/// write, without length or end mark: what does not arrive as exactly one object in one read is dropped. A larger write
/// comes in pieces, which runtime/one_write.h joins.
class Fido2Client : public QObject
{
    Q_OBJECT

public:
    static constexpr int kReconnectIntervalMs = 2000;

    /// Bytes of one read above which they are dropped and logged.
    static constexpr qint64 kLargestMessage = 1024 * 1024;

    explicit Fido2Client(QObject* parent = nullptr, int reconnectIntervalMs = kReconnectIntervalMs);

    /// Blocks up to 5 s. True when connected now. A failure emits nothing and starts no reconnection; a caller who
    /// wants one calls handleDisconnected(). Whoever serves the name but is another user's, or not the process that is
    /// expected, is left at once and logged.
    bool connectToServer(const QString& serverName, std::optional<qint64> process = {});

    /// For good: nothing reconnects any more. Blocks up to 1 s. Of a connection that was open it reports the end twice.
    void disconnectFromServer();

    bool isConnected() const { return m_connected; }

    /// False when the socket is not connected or took only a part.
    bool sendMessage(const QJsonObject& message);

    /// Ticks so far since the last connection; those from the fifth on attempt nothing.
    std::int32_t reconnectAttempts() const { return m_reconnectAttempts; }

signals:
    void connectionStatusChanged(bool connected);
    /// Emitted below the socket's handler: a receiver that runs an event loop would miss what arrives meanwhile.
    void userConfirmationRequestReceived(const QString& operation, const QJsonObject& data);

public slots:
    void handleConnected();
    /// Reports the end and, unless stopping, starts to reconnect: four attempts, one per interval.
    void handleDisconnected();
    void handleServerData();
    void handleError(QLocalSocket::LocalSocketError error);
    void attemptReconnect();

private:
    void createSocket();
    bool refusesServer();
    void handleMessage(const QByteArray& bytes);

    QLocalSocket* m_socket = nullptr;   ///< child, made by the first connection
    OneWriteReader* m_reader = nullptr; ///< child of the socket
    QTimer m_reconnectTimer;
    QString m_serverName;
    std::optional<qint64> m_serverProcess; ///< that must serve the name
    std::int32_t m_reconnectAttempts = 0;
    bool m_connected = false;
    bool m_stopping = false;
    bool m_isRefusing = false; ///< while a connection to somebody else is given up
};
