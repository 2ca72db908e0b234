// capture_client.h: the capture channel to one device process.
#pragma once

#include "capture/channel/capture_types.h"
#include "capture/channel/frame_reader.h"
#include "capture/channel/log.h"
#include "capture/channel/packet_store.h"

#include <QDeadlineTimer>
#include <QJsonObject>
#include <QLocalSocket>
#include <QObject>
#include <QRecursiveMutex>
#include <QTimer>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

/// Connects to the capture server of a device process, sends commands, and keeps and reports every packet that comes.
/// Signals are emitted on the thread that owns the object. While it is not connected, but once asked to be, it tries
/// again every 2000 ms. Malformed input is logged and skipped and never closes the connection; at most one frame of
/// 1 MiB and 256 KiB more are buffered. Packets that come faster than they are handled take 8 ms of each turn of the
/// event loop and wait in the socket for the next one; those of a lost connection are reported before disconnected().
class UsbIPCaptureClient : public QObject
{
    Q_OBJECT

public:
    /// Gets the success and the message of a reply; called at most once, without locks that keep it from calling back.
    using CommandCallback = std::function<void(bool success, const QString& message)>;

    explicit UsbIPCaptureClient(QObject* parent = nullptr);
    ~UsbIPCaptureClient() override;

    /// "UsbIPCaptureServer_" and the process id.
    static QString serverNameOf(qint64 processId);
    /// Whatever process of this user serves the name is talked to.
    void setServerName(const QString& name);
    /// Connects to the server of this process, and to nobody else who has taken its name.
    void setServerProcess(qint64 processId);

    /// Starts connecting; does nothing when connected or under way. Without a server name: the one of this process.
    void connectToServer();
    bool isConnected() const;

    /// Each is true when the command was written, false when not connected or when writing failed. Every request for
    /// the device configuration is answered by one deviceConfigReceived() at the most.
    bool startCapture();
    bool stopCapture();
    bool clearCapture();
    bool requestStats();
    bool requestPackets();
    bool requestDeviceConfig();
    bool sendCommand(const QString& name, const QJsonObject& data);

    /// Registers what a reply with this id calls; replaces an earlier one.
    void setCommandCallback(int commandId, CommandCallback callback);

    /// Handles bytes as if they had come over the socket.
    void receive(const QByteArray& bytes);

    /// Everything received, of all devices, in order of arrival; kept when capture is cleared. A packet is there when
    /// packetCaptured() reports it.
    std::shared_ptr<PacketStore> store() const { return m_store; }
    /// What was received for one device. Looks through the whole store.
    std::vector<UsbIPPacketInfo> packets(std::uint32_t deviceId) const;
    CaptureStats lastStats() const;

    /// Messages that were refused as malformed and whole buffers that were discarded.
    quint64 refusedMessages() const { return m_refusedMessages; }

signals:
    void connected();
    void disconnected();
    void connectionError(QString error);
    void captureStarted(uint32_t deviceId);
    void captureStopped(uint32_t deviceId);
    void captureCleared();
    void packetCaptured(uint32_t deviceId, UsbIPPacketInfo packet);
    void statsUpdated(CaptureStats stats);
    void deviceConfigReceived(QJsonObject config);
    /// Another user, or another process, serves the name; connectionError() follows.
    void serverRefused();

private slots:
    void onConnected();
    void onDisconnected();
    void onError(QLocalSocket::LocalSocketError error);
    void onReadyRead();
    void onReconnectTimer();

private:
    void readUntil(const QDeadlineTimer& end);
    void refuseServer(const QString& fault);
    bool sendWhenConnected(const QString& name);
    void processBinaryBuffer();
    void handleBinaryMessage(uint8_t messageType, const QByteArray& messageData);
    bool isWanted() const;
    void processPacketCapturedMessage(const QByteArray& data);
    void processStatsUpdatedMessage(const QByteArray& data);
    void processErrorMessage(const QByteArray& data);
    void processCommandResult(const QByteArray& data);
    void processStatsResponse(const QByteArray& data);
    void processPacketsResponse(const QByteArray& data);
    void processDeviceConfigResponse(const QByteArray& data);
    void parseProtocolInfo(UsbIPPacketInfo& packetInfo);
    std::optional<QJsonObject> replyObject(const QByteArray& data, const char* complaint);
    CommandCallback takeCallback(int commandId);

    mutable QRecursiveMutex m_mutex; // guards all that follows
    QLocalSocket m_socket;
    QString m_serverName;
    std::optional<qint64> m_serverProcess; // that must serve the name
    bool m_connected = false;
    QTimer m_reconnectTimer;
    QTimer m_readTimer; // runs while bytes wait in the socket for the next turn of the event loop
    FrameReader m_frames;
    UsbIPPacketInfo m_packet;     // the last one; its bytes are those of its frame
    bool m_packetsWanted = false; // somebody is connected to packetCaptured()
    CaptureStats m_lastStats;
    const std::shared_ptr<PacketStore> m_store = std::make_shared<PacketStore>();
    std::map<int, CommandCallback> m_callbacks;
    quint64 m_refusedMessages = 0;
    int m_awaitedConfigs = 0; // requests that were not answered yet
    bool m_refused = false;   // while a connection to somebody else is given up
    LimitedWarnings m_warnings;
};
