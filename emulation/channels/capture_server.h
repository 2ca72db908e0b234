// capture_server.h: the capture channel of a device process.
#pragma once

#include "emulation/channels/device_service.h"
#include "emulation/link/exported_device.h"
#include "emulation/link/traffic_tap.h"

#include <QLocalServer>
#include <QObject>
#include <QTimer>

#include <list>

class QJsonObject;
class QLocalSocket;

/// Serves "UsbIPCaptureServer_" and the process id for the same user. While capture runs, every client gets each
/// message that passes the link, and counters once a second. A client that does not read loses packets, which the
/// counters show: at most 1 MiB waits for it.
class CaptureServer final : public QObject, public DeviceService, public TrafficTap
{
public:
    /// `device`, which may be null, is asked for its configuration; it outlives the server. `deviceId` is the one of
    /// the link.
    CaptureServer(qint64 processId, std::uint32_t deviceId, const ExportedDevice* device);
    ~CaptureServer() override;

    QString start() override;

    bool isOpen() const override { return m_statsTimer.isActive(); }
    void passed(const TappedMessage& message) override;

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
    void sendStats();
    void broadcast(const QByteArray& frame);
    QJsonObject statsObject() const;
    QJsonObject configurationObject() const;

    QString m_name;
    std::uint32_t m_deviceId;
    const ExportedDevice* m_device;
    QLocalServer m_server;
    std::list<Client> m_clients;
    QTimer m_statsTimer; // runs while capture does
    std::uint32_t m_requests = 0;
    std::uint32_t m_replies = 0;
    std::uint32_t m_unlinks = 0;
};
