#include "fido2/channel/fido2_channels.h"

#include "fido2/channel/fido2_message.h"
#include "fido2/file/log.h"

#include <QDateTime>

Fido2Channels::Fido2Channels(QObject* parent, int reconnectIntervalMs)
    : QObject(parent)
    , m_reconnectIntervalMs(reconnectIntervalMs)
{}

Fido2Channels::~Fido2Channels()
{
    // The listeners are being destroyed as well: no reports.
    for (Fido2Client* client : qAsConst(m_clients)) {
        client->disconnect();
        delete client;
    }
}

void Fido2Channels::add(qint64 processId)
{
    drop(processId);
    auto* client = new Fido2Client(this, m_reconnectIntervalMs);
    connect(client, &Fido2Client::connectionStatusChanged, this, [this, processId](bool connected) {
        if (connected)
            emit deviceConnected(processId);
        else
            emit deviceDisconnected(processId);
    });
    connect(client, &Fido2Client::userConfirmationRequestReceived, this,
            [this, processId](const QString& operation, const QJsonObject& data) {
                emit confirmationRequested(processId, operation, data);
            });
    m_clients.insert(processId, client);
    if (!client->connectToServer(QStringLiteral("Fido2Server_%1").arg(processId), processId))
        client->handleDisconnected();
}

void Fido2Channels::drop(qint64 processId)
{
    Fido2Client* client = m_clients.take(processId);
    if (!client)
        return;
    client->disconnectFromServer();
    client->deleteLater();
}

void Fido2Channels::answer(qint64 processId, bool confirmed, const QJsonObject& result)
{
    Fido2Client* client = m_clients.value(processId);
    if (!client) {
        qCWarning(fido2Log) << "No FIDO2 client found for process" << processId;
        return;
    }
    if (!client->isConnected()) {
        qCWarning(fido2Log) << "FIDO2 client for process" << processId << "not available or not connected";
        return;
    }
    qCInfo(fido2Log) << "Request of process" << processId << (confirmed ? "confirmed" : "denied");
    if (!client->sendMessage(confirmationResponse(confirmed, result, QDateTime::currentMSecsSinceEpoch())))
        qCWarning(fido2Log) << "The answer to process" << processId << "could not be written";
}

std::optional<qint64> Fido2Channels::processIdOf(const QObject* sender) const
{
    for (auto entry = m_clients.cbegin(); entry != m_clients.cend(); ++entry) {
        if (entry.value() == sender)
            return entry.key();
    }
    return {};
}
