// fido2_channels.h: the channels to all running security keys, by the process id of each.
#pragma once

#include "fido2/channel/fido2_client.h"

#include <QJsonObject>
#include <QMap>
#include <QObject>

#include <optional>

/// GUI thread only. Owns the clients.
class Fido2Channels : public QObject
{
    Q_OBJECT

public:
    explicit Fido2Channels(QObject* parent = nullptr, int reconnectIntervalMs = Fido2Client::kReconnectIntervalMs);
    ~Fido2Channels() override;

    /// Drops the client that there may be for this process id (ids are reused, and an old client must not answer a new
    /// process) and connects a new one to "Fido2Server_PID", which that very process must serve. Blocks up to 5 s; a
    /// failure starts the reconnection.
    void add(qint64 processId);

    /// Disconnects and forgets the client; does nothing when there is none.
    void drop(qint64 processId);

    /// Sends the user's answer to that process. Without a connected client the answer is dropped and logged.
    void answer(qint64 processId, bool confirmed, const QJsonObject& result);

    /// The process id of the client that `sender` is; nothing for any other object.
    std::optional<qint64> processIdOf(const QObject* sender) const;

    /// Null when there is none.
    Fido2Client* clientOf(qint64 processId) const { return m_clients.value(processId); }

    QList<qint64> processIds() const { return m_clients.keys(); }

signals:
    void deviceConnected(qint64 processId);
    void deviceDisconnected(qint64 processId);
    /// Emitted below a socket's handler; receivers only queue.
    void confirmationRequested(qint64 processId, const QString& operation, const QJsonObject& data);

private:
    QMap<qint64, Fido2Client*> m_clients;
    int m_reconnectIntervalMs;
};
