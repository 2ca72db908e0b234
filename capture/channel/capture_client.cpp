#include "capture/channel/capture_client.h"

#include "capture/channel/capture_command.h"
#include "capture/channel/packet_parser.h"
#include "capture/channel/protocol_line.h"
#include "runtime/local_peer.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonDocument>
#include <QMetaMethod>
#include <QMutexLocker>

#include <new>
#include <utility>

namespace {

const QLatin1String kGetConfig("get_device_config");

constexpr int kReconnectInterval = 2000;   // ms
constexpr qint64 kReadBuffer = 256 * 1024; // bytes that wait in the socket
constexpr qint64 kReadPiece = 16 * 1024;   // bytes between two looks at the clock
constexpr int kReadTime = 8;               // ms of one turn of the event loop

/// Types of the messages that a device process sends.
enum MessageType : std::uint8_t
{
    PacketCaptured = 1,
    StatsUpdated = 2,
    CaptureStarted = 3,
    CaptureStopped = 4,
    CaptureCleared = 5,
    ServerError = 6,
    CommandResult = 20,
    StatsResponse = 21,
    PacketsResponse = 22,
    DeviceConfigResponse = 23,
};

QJsonObject objectOf(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

std::uint32_t deviceIdOf(const QByteArray& json)
{
    return static_cast<std::uint32_t>(objectOf(json).value(QLatin1String("device_id")).toInt(0));
}

UsbIPPacketInfo withOwnBytes(UsbIPPacketInfo packet)
{
    for (QByteArray* bytes : {&packet.data, &packet.setupData, &packet.usbipHeader})
        *bytes = QByteArray(bytes->constData(), bytes->size());
    return packet;
}

int commandIdOf(const QJsonObject& reply)
{
    return reply.value(QLatin1String("command_id")).toInt(-1);
}

} // namespace

UsbIPCaptureClient::UsbIPCaptureClient(QObject* parent) : QObject(parent)
{
    registerCaptureTypes();
    m_socket.setReadBufferSize(kReadBuffer);
    m_reconnectTimer.setInterval(kReconnectInterval);
    m_readTimer.setSingleShot(true);
    m_readTimer.setInterval(0);
    connect(&m_readTimer, &QTimer::timeout, this, &UsbIPCaptureClient::onReadyRead);
    connect(&m_socket, &QLocalSocket::connected, this, &UsbIPCaptureClient::onConnected);
    connect(&m_socket, &QLocalSocket::disconnected, this, &UsbIPCaptureClient::onDisconnected);
    connect(&m_socket, &QLocalSocket::errorOccurred, this, &UsbIPCaptureClient::onError);
    connect(&m_socket, &QLocalSocket::readyRead, this, &UsbIPCaptureClient::onReadyRead);
    connect(&m_reconnectTimer, &QTimer::timeout, this, &UsbIPCaptureClient::onReconnectTimer);
}

UsbIPCaptureClient::~UsbIPCaptureClient()
{
    m_socket.disconnect(this); // closing the socket below must not report to a half-destroyed client
}

QString UsbIPCaptureClient::serverNameOf(qint64 processId)
{
    return QStringLiteral("UsbIPCaptureServer_%1").arg(processId);
}

void UsbIPCaptureClient::setServerName(const QString& name)
{
    const QMutexLocker lock(&m_mutex);
    m_serverName = name;
}

void UsbIPCaptureClient::setServerProcess(qint64 processId)
{
    const QMutexLocker lock(&m_mutex);
    m_serverName = serverNameOf(processId);
    m_serverProcess = processId;
}

void UsbIPCaptureClient::connectToServer()
{
    const QMutexLocker lock(&m_mutex);
    if (m_connected || m_socket.state() != QLocalSocket::UnconnectedState)
        return;
    const QString name = m_serverName.isEmpty() ? serverNameOf(QCoreApplication::applicationPid()) : m_serverName;
    m_frames.clear(); // what an earlier connection left half sent would be taken for the head of this one's first frame
    qCDebug(captureLog) << "Connecting to" << name;
    m_socket.connectToServer(name, QIODevice::ReadWrite);
}

bool UsbIPCaptureClient::isConnected() const
{
    const QMutexLocker lock(&m_mutex);
    return m_connected;
}

bool UsbIPCaptureClient::startCapture()
{
    return sendWhenConnected(QStringLiteral("start_capture"));
}

bool UsbIPCaptureClient::stopCapture()
{
    return sendWhenConnected(QStringLiteral("stop_capture"));
}

bool UsbIPCaptureClient::clearCapture()
{
    return sendWhenConnected(QStringLiteral("clear_capture"));
}

bool UsbIPCaptureClient::requestStats()
{
    return sendCommand(QStringLiteral("get_stats"), {});
}

bool UsbIPCaptureClient::requestPackets()
{
    return sendCommand(QStringLiteral("get_packets"), {});
}

bool UsbIPCaptureClient::requestDeviceConfig()
{
    return sendWhenConnected(kGetConfig);
}

bool UsbIPCaptureClient::sendWhenConnected(const QString& name)
{
    const QMutexLocker lock(&m_mutex);
    if (!m_connected || m_socket.state() != QLocalSocket::ConnectedState)
        return false;
    return sendCommand(name, {});
}

bool UsbIPCaptureClient::sendCommand(const QString& name, const QJsonObject& data)
{
    const QMutexLocker lock(&m_mutex);
    if (m_socket.state() != QLocalSocket::ConnectedState)
        return false;
    const QByteArray bytes = captureCommandBytes(name, data, QDateTime::currentMSecsSinceEpoch());
    if (m_socket.write(bytes) != bytes.size())
        return false;
    m_socket.flush();
    if (name == kGetConfig)
        ++m_awaitedConfigs;
    return m_socket.state() == QLocalSocket::ConnectedState;
}

void UsbIPCaptureClient::setCommandCallback(int commandId, CommandCallback callback)
{
    const QMutexLocker lock(&m_mutex);
    m_callbacks[commandId] = std::move(callback);
}

std::vector<UsbIPPacketInfo> UsbIPCaptureClient::packets(std::uint32_t deviceId) const
{
    std::vector<UsbIPPacketInfo> found;
    PacketReader reader(m_store);
    const std::size_t count = m_store->size();
    for (std::size_t number = 0; number < count; ++number) {
        const PacketView packet = reader.read(number);
        if (packet.deviceId == deviceId)
            found.push_back(packet.copy());
    }
    return found;
}

CaptureStats UsbIPCaptureClient::lastStats() const
{
    const QMutexLocker lock(&m_mutex);
    return m_lastStats;
}

void UsbIPCaptureClient::onConnected()
{
    {
        const QMutexLocker lock(&m_mutex);
        const QString fault = faultOfServer(m_socket.socketDescriptor(), m_socket.serverName(), m_serverProcess);
        if (!fault.isEmpty())
            return refuseServer(fault);
        m_connected = true;
        m_reconnectTimer.stop();
        qCInfo(captureLog) << "Connected to" << m_socket.serverName();
    }
    emit connected();
}

// Nothing was sent to it or read from it. It is looked for again: the process may take its name back.
void UsbIPCaptureClient::refuseServer(const QString& fault)
{
    m_warnings.warn(qUtf8Printable(fault));
    m_refused = true;
    m_socket.abort();
    m_refused = false;
    m_reconnectTimer.start();
    emit serverRefused();
    emit connectionError(fault);
}

void UsbIPCaptureClient::onDisconnected()
{
    {
        const QMutexLocker lock(&m_mutex);
        if (m_refused)
            return;
        readUntil(QDeadlineTimer(QDeadlineTimer::Forever));
        m_readTimer.stop();
        m_connected = false;
        m_awaitedConfigs = 0;
        m_reconnectTimer.start();
        qCInfo(captureLog) << "Disconnected from" << m_socket.serverName();
    }
    emit disconnected();
}

void UsbIPCaptureClient::onError(QLocalSocket::LocalSocketError)
{
    QString error;
    {
        const QMutexLocker lock(&m_mutex);
        error = m_socket.errorString();
        // A connection that was never made reports no disconnect, so trying again starts here.
        if (!m_connected && !m_reconnectTimer.isActive())
            m_reconnectTimer.start();
    }
    emit connectionError(error);
}

void UsbIPCaptureClient::onReconnectTimer()
{
    connectToServer();
}

void UsbIPCaptureClient::onReadyRead()
{
    const QMutexLocker lock(&m_mutex);
    if (m_readTimer.isActive())
        return; // this turn of the event loop has had its share
    readUntil(QDeadlineTimer(kReadTime, Qt::PreciseTimer));
    if (m_socket.bytesAvailable() > 0)
        m_readTimer.start();
}

void UsbIPCaptureClient::readUntil(const QDeadlineTimer& end)
{
    while (m_socket.isOpen() && m_socket.bytesAvailable() > 0 && !end.hasExpired())
        receive(m_socket.read(kReadPiece));
}

void UsbIPCaptureClient::receive(const QByteArray& bytes)
{
    const QMutexLocker lock(&m_mutex);
    m_frames.append(bytes);
    processBinaryBuffer();
}

void UsbIPCaptureClient::processBinaryBuffer()
{
    FrameReader::Frame frame;
    FrameReader::Result result;
    m_packetsWanted = isWanted();
    // A frame is consumed before it is handled: a slot that lets bytes arrive meanwhile handles the ones after it.
    while ((result = m_frames.next(frame)) == FrameReader::Result::Frame) {
        handleBinaryMessage(frame.type, frame.payload);
        if (frame.type != PacketCaptured)
            m_packetsWanted = isWanted(); // its slots may have connected
    }
    if (result == FrameReader::Result::Oversize) {
        ++m_refusedMessages;
        m_warnings.warn("Invalid data length in binary message header");
    }
}

// The payload refers to the receive buffer: every handler has read it before it emits or calls anything.
void UsbIPCaptureClient::handleBinaryMessage(uint8_t messageType, const QByteArray& messageData)
{
    switch (messageType) {
    case PacketCaptured:
        return processPacketCapturedMessage(messageData);
    case StatsUpdated:
        return processStatsUpdatedMessage(messageData);
    case CaptureStarted:
        return emit captureStarted(deviceIdOf(messageData));
    case CaptureStopped:
        return emit captureStopped(deviceIdOf(messageData));
    case CaptureCleared:
        return emit captureCleared();
    case ServerError:
        return processErrorMessage(messageData);
    case CommandResult:
        return processCommandResult(messageData);
    case StatsResponse:
        return processStatsResponse(messageData);
    case PacketsResponse:
        return processPacketsResponse(messageData);
    case DeviceConfigResponse:
        return processDeviceConfigResponse(messageData);
    default:
        m_warnings.warn("Unknown message type:", static_cast<int>(messageType));
    }
}

void UsbIPCaptureClient::processPacketCapturedMessage(const QByteArray& data)
{
    if (!parseCapturedPacket(data, m_packet)) {
        ++m_refusedMessages;
        m_warnings.warn("Invalid packet captured message size");
        return;
    }
    parseProtocolInfo(m_packet);
    try {
        m_store->append(m_packet);
    } catch (const std::bad_alloc&) {
        m_warnings.warn("There is not enough memory for a packet");
        return emit connectionError(tr("There is not enough memory for more packets."));
    }
    // Slots may keep the packet longer than its frame stays. Where there are none, its bytes need no copy.
    if (m_packetsWanted)
        emit packetCaptured(m_packet.deviceId, withOwnBytes(m_packet));
}

bool UsbIPCaptureClient::isWanted() const
{
    static const QMetaMethod s_signal = QMetaMethod::fromSignal(&UsbIPCaptureClient::packetCaptured);
    return isSignalConnected(s_signal);
}

void UsbIPCaptureClient::parseProtocolInfo(UsbIPPacketInfo& packetInfo)
{
    packetInfo.parsedDetails = protocolLine(packetInfo);
}

void UsbIPCaptureClient::processStatsUpdatedMessage(const QByteArray& data)
{
    const std::optional<CaptureStats> stats = parseCaptureStats(data);
    if (!stats) {
        ++m_refusedMessages;
        m_warnings.warn("Invalid stats message size");
        return;
    }
    m_lastStats = *stats;
    emit statsUpdated(*stats);
}

void UsbIPCaptureClient::processErrorMessage(const QByteArray& data)
{
    const auto reply = replyObject(data, "Invalid error response format");
    if (!reply)
        return;
    const QString message = reply->value(QLatin1String("message")).toString();
    m_warnings.warn("Error received from server:", forLog(message));
    emit connectionError(message);
}

void UsbIPCaptureClient::processCommandResult(const QByteArray& data)
{
    const auto reply = replyObject(data, "Invalid command result response format");
    if (!reply)
        return;
    const int id = commandIdOf(*reply);
    if (const CommandCallback callback = takeCallback(id))
        callback(reply->value(QLatin1String("success")).toBool(false),
                 reply->value(QLatin1String("message")).toString());
    else
        m_warnings.warn("No callback found for command ID:", id);
}

void UsbIPCaptureClient::processStatsResponse(const QByteArray& data)
{
    if (const auto reply = replyObject(data, "Invalid stats response format"))
        emit statsUpdated(captureStatsFromJson(*reply));
}

void UsbIPCaptureClient::processPacketsResponse(const QByteArray& data)
{
    const auto reply = replyObject(data, "Invalid packets response format");
    if (!reply)
        return;
    if (const CommandCallback callback = takeCallback(commandIdOf(*reply)))
        callback(true, QString());
}

void UsbIPCaptureClient::processDeviceConfigResponse(const QByteArray& data)
{
    const auto reply = replyObject(data, "Invalid device config response format");
    if (!reply)
        return;
    if (const CommandCallback callback = takeCallback(commandIdOf(*reply)))
        callback(true, QString());
    if (m_awaitedConfigs == 0) {
        m_warnings.warn("A device configuration came that nobody asked for");
        return;
    }
    --m_awaitedConfigs;
    emit deviceConfigReceived(reply->value(QLatin1String("config")).toObject());
}

std::optional<QJsonObject> UsbIPCaptureClient::replyObject(const QByteArray& data, const char* complaint)
{
    const QJsonDocument document = QJsonDocument::fromJson(data);
    if (document.isObject())
        return document.object();
    ++m_refusedMessages;
    m_warnings.warn(complaint);
    return std::nullopt;
}

UsbIPCaptureClient::CommandCallback UsbIPCaptureClient::takeCallback(int commandId)
{
    const auto found = m_callbacks.find(commandId);
    if (found == m_callbacks.end())
        return {};
    CommandCallback callback = std::move(found->second);
    m_callbacks.erase(found);
    return callback;
}
