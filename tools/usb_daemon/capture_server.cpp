#include "tools/usb_daemon/capture_server.h"

#include "devices/device_type.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QtEndian>

#include <algorithm>

namespace {

constexpr int kDefaultRate = 100;            // packets/s
constexpr int kPacketInterval = 10;          // ms
constexpr int kStatsInterval = 1000;         // ms
constexpr int kBurst = 256;                  // packets between two looks at how much waits for clients
constexpr qint64 kMostWaiting = 1024 * 1024; // bytes for one client
constexpr int kLongestCommand = 64 * 1024;   // bytes
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

int captureRate()
{
    bool valid = false;
    const int rate = qEnvironmentVariableIntValue("PLUGBOARD_CAPTURE_RATE", &valid);
    return valid && rate >= 0 ? rate : kDefaultRate;
}

} // namespace

CaptureServer::CaptureServer(const DeviceContext& context)
    : m_name(QStringLiteral("UsbIPCaptureServer_%1").arg(context.processId))
    , m_deviceId(0x10000 | static_cast<std::uint32_t>(context.processId & 0x7F))
    , m_session(makeDeviceSession(deviceTypeWord(context.device.type), m_deviceId))
    , m_rate(captureRate())
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, &CaptureServer::acceptClients);
    connect(&m_packetTimer, &QTimer::timeout, this, &CaptureServer::producePackets);
    connect(&m_statsTimer, &QTimer::timeout, this, &CaptureServer::sendStats);
    m_packetTimer.setInterval(m_rate == 0 ? 0 : kPacketInterval);
    m_statsTimer.setInterval(kStatsInterval);
}

CaptureServer::~CaptureServer()
{
    for (Client& client : m_clients)
        client.socket->disconnect(this);
}

QString CaptureServer::start()
{
    if (!m_session)
        return {};
    QLocalServer::removeServer(m_name); // left by a killed process that had this id
    return m_server.listen(m_name) ? QString() : m_server.errorString();
}

void CaptureServer::acceptClients()
{
    while (QLocalSocket* socket = m_server.nextPendingConnection()) {
        Client& client = m_clients.emplace_back(Client{socket, {}});
        connect(socket, &QLocalSocket::readyRead, this, [this, &client] { readCommands(client); });
        connect(socket, &QLocalSocket::disconnected, this, [this, socket] {
            m_clients.remove_if([socket](const Client& gone) { return gone.socket == socket; });
            socket->deleteLater();
            if (m_clients.empty())
                stopCapture();
        });
    }
}

// A line of text, which unknown commands come as, is no frame: its first bytes make an impossible length.
void CaptureServer::readCommands(Client& client)
{
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
                                                       {QStringLiteral("config"), m_session->configuration()}}));
        return;
    default:
        client.socket->write(frame(Error, QJsonObject{{QStringLiteral("message"), QStringLiteral("Unknown command")}}));
    }
}

void CaptureServer::startCapture()
{
    if (m_packetTimer.isActive())
        return;
    m_produced = 0;
    m_clock.start();
    m_packetTimer.start();
    m_statsTimer.start();
}

void CaptureServer::stopCapture()
{
    m_packetTimer.stop();
    m_statsTimer.stop();
}

void CaptureServer::clearCapture()
{
    m_requests = m_replies = m_unlinks = 0;
    broadcast(frame(Cleared, QByteArray()));
}

void CaptureServer::producePackets()
{
    if (m_rate == 0 && !canSend())
        return;
    const qint64 due = m_rate == 0 ? m_produced + kBurst : m_rate * m_clock.elapsed() / 1000;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    QByteArray frames;
    for (; m_produced < due; ++m_produced) {
        const SessionPacket packet = m_session->nextPacket();
        ++(packet.isRequest ? m_requests : m_replies);
        m_unlinks += packet.isUnlink ? 1 : 0;
        frames += packetFrame(packet, now);
    }
    broadcast(frames);
}

bool CaptureServer::canSend() const
{
    return std::all_of(m_clients.begin(), m_clients.end(),
                       [](const Client& client) { return client.socket->bytesToWrite() < kMostWaiting; });
}

void CaptureServer::broadcast(const QByteArray& frames)
{
    for (Client& client : m_clients) {
        if (client.socket->bytesToWrite() < kMostWaiting)
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
