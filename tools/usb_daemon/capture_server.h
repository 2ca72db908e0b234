// capture_server.h: the capture channel of a device process.
#pragma once

#include "tools/usb_daemon/device_service.h"
#include "tools/usb_daemon/sessions/device_session.h"

#include <QElapsedTimer>
#include <QLocalServer>
#include <QObject>
#include <QTimer>

#include <list>

class QJsonObject;
class QLocalSocket;

/// Serves "UsbIPCaptureServer_" and the process id for the same user. While capture runs, every client gets the packets
/// of a simulated session of the device's type and counters once a second. The environment variable
/// PLUGBOARD_CAPTURE_RATE says how many packets/s (default 100); 0 is as fast as clients read. A client that does not
/// read loses packets, which the counters show: at most 1 MiB waits for it.
class CaptureServer final : public QObject, public DeviceService
{
public:
    explicit CaptureServer(const DeviceContext& context);
    ~CaptureServer() override;

    QString start() override;

private:
    struct Client
    {
        QLocalSocket* socket;
        QByteArray received;
    };

    void acceptClients();
    void readCommands(Client& client);
    void handleCommand(Client& client, int type);
    void startCapture();
    void stopCapture();
    void clearCapture();
    void producePackets();
    void sendStats();
    void broadcast(const QByteArray& frame);
    bool canSend() const;
    QJsonObject statsObject() const;

    QString m_name;
    std::uint32_t m_deviceId;
    std::unique_ptr<DeviceSession> m_session;
    QLocalServer m_server;
    std::list<Client> m_clients;
    QTimer m_packetTimer;
    QTimer m_statsTimer;
    QElapsedTimer m_clock; // since capture was started
    int m_rate;            // packets/s
    qint64 m_produced = 0; // since capture was started
    std::uint32_t m_requests = 0;
    std::uint32_t m_replies = 0;
    std::uint32_t m_unlinks = 0;
};
