#include "emulation/channels/capture_server.h"

#include "emulation/channels/capture_packet.h"
#include "emulation/channels/configuration_json.h"
#include "emulation/channels/local_service.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QtEndian>

namespace {

constexpr int kStatsInterval = 1000;       // ms
constexpr int kLongestCommand = 64 * 1024; // bytes
constexpr int kHeaderSize = 8;

/// Types of the messages to clients.
enum Reply
{
    StatsUpdated = 2,
    Started = 3,
    Stopped = 4,
    Cleared = 5,
    Error = 6,
    Stats = 21,
    Packets = 22,
    Config = 23
};

/// Types of the commands of clients.
enum Command
{
    Start = 10,
    Stop = 11,
    Clear = 12,
    GetStats = 13,
    GetPackets = 14,
    GetConfig = 15
};

QByteArray frame(int type, const QByteArray& payload)
{
    QByteArray bytes(kHeaderSize, '\0');
    bytes[0] = static_cast<char>(type);
    qToLittleEndian(static_cast<quint32>(payload.size()), bytes.data() + 4);
    return bytes + payload;
}

QByteArray frame(int type, const QJsonObject& payload)
{
    return frame(type, QJsonDocument(payload).toJson(QJsonDocument::Compact));
}

} // namespace

CaptureServer::CaptureServer(qint64 processId, std::uint32_t deviceId, const ExportedDevice* device)
    : m_name(QStringLiteral("UsbIPCaptureServer_%1").arg(processId))
    , m_deviceId(deviceId)
    , m_device(device)
{
    connect(&m_server, &QLocalServer::newConnection, this, &CaptureServer::acceptClients);
    connect(&m_statsTimer, &QTimer::timeout, this, &CaptureServer::sendStats);
    m_statsTimer.setInterval(kStatsInterval);
}

CaptureServer::~CaptureServer()
{
    for (Client& client : m_clients)
        client.socket->disconnect(this);
}

QString CaptureServer::start()
{
    return listenLocally(m_server, m_name);
}

void CaptureServer::acceptClients()
{
    while (QLocalSocket* socket = nextLocalClient(m_server)) {
        socket->setReadBufferSize(kLongestCommand + kHeaderSize);
        Client& client = m_clients.emplace_back(Client{socket, {}});
        connect(socket, &QLocalSocket::readyRead, this, [this, &client] { readCommands(client); });
        connect(socket, &QLocalSocket::disconnected, this, [this, socket] {
            m_clients.remove_if([socket](const Client& gone) { return gone.socket == socket; });
            if (m_clients.empty())
                stopCapture();
        });
    }
}

// A line of text, which unknown commands come as, is no frame: its first bytes make an impossible length.
void CaptureServer::readCommands(Client& client)
{
    if (client.socket->bytesToWrite() > 2 * kMostWaitingForClient) // asks on and reads no answer
        return client.socket->abort();
    client.received += client.socket->readAll();
    while (client.received.size() >= kHeaderSize) {
        const auto length = qFromLittleEndian<quint32>(client.received.constData() + 4);
        if (length > kLongestCommand) {
            client.received.clear();
            client.socket->write(
                frame(Error, QJsonObject{{QStringLiteral("message"), QStringLiteral("Not a command")}}));
            return;
        }
        if (client.received.size() < kHeaderSize + static_cast<int>(length))
            return;
        const int type = static_cast<uchar>(client.received.at(0));
        client.received.remove(0, kHeaderSize + static_cast<int>(length));
        handleCommand(client, type);
    }
}

void CaptureServer::handleCommand(Client& client, int type)
{
    const QJsonObject device{{QStringLiteral("device_id"), static_cast<int>(m_deviceId)}};
    switch (type) {
    case Start:
        client.socket->write(frame(Started, device));
        return startCapture();
    case Stop:
        stopCapture();
        client.socket->write(frame(Stopped, device));
        return sendStats();
    case Clear:
        return clearCapture();
    case GetStats:
        client.socket->write(frame(Stats, statsObject()));
        return;
    case GetPackets: // everything captured was sent when it was captured
        client.socket->write(frame(Packets, QJsonObject{{QStringLiteral("command_id"), -1}}));
        return;
    case GetConfig:
        client.socket->write(frame(Config, QJsonObject{{QStringLiteral("command_id"), -1},
                                                       {QStringLiteral("config"), configurationObject()}}));
        return;
    default:
        client.socket->write(frame(Error, QJsonObject{{QStringLiteral("message"), QStringLiteral("Unknown command")}}));
    }
}

void CaptureServer::startCapture()
{
    if (!m_statsTimer.isActive())
        m_statsTimer.start();
}

void CaptureServer::stopCapture()
{
    m_statsTimer.stop();
}

void CaptureServer::clearCapture()
{
    m_requests = m_replies = m_unlinks = 0;
    broadcast(frame(Cleared, QByteArray()));
}

void CaptureServer::passed(const TappedMessage& message)
{
    const bool isRequest = message.command == usbip::Command::Submit || message.command == usbip::Command::Unlink;
    const bool isUnlink = message.command == usbip::Command::Unlink || message.command == usbip::Command::UnlinkReply;
    ++(isRequest ? m_requests : m_replies);
    m_unlinks += isUnlink ? 1 : 0;
    broadcast(packetFrame(message, QDateTime::currentMSecsSinceEpoch()));
}

QJsonObject CaptureServer::configurationObject() const
{
    if (!m_device)
        return {};
    return configurationJson(m_device->configurationDescriptor(), m_device->summary().speed >= usbip::Speed::Super);
}

void CaptureServer::broadcast(const QByteArray& frames)
{
    for (Client& client : m_clients) {
        if (client.socket->bytesToWrite() < kMostWaitingForClient)
            client.socket->write(frames);
    }
}

QJsonObject CaptureServer::statsObject() const
{
    return {{QStringLiteral("total_packets"), static_cast<int>(m_requests + m_replies)},
            {QStringLiteral("request_packets"), static_cast<int>(m_requests)},
            {QStringLiteral("reply_packets"), static_cast<int>(m_replies)},
            {QStringLiteral("unlink_packets"), static_cast<int>(m_unlinks)}};
}

void CaptureServer::sendStats()
{
    QByteArray counters(16, '\0');
    int offset = 0;
    for (const std::uint32_t counter : {m_requests + m_replies, m_requests, m_replies, m_unlinks}) {
        qToLittleEndian(counter, counters.data() + offset);
        offset += 4;
    }
    broadcast(frame(StatsUpdated, counters));
}
