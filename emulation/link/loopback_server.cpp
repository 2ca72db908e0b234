#include "emulation/link/host_connection.h"
#include "emulation/link/host_way.h"
#include "emulation/link/log.h"
#include "emulation/link/operation_session.h"
#include "emulation/link/own_server.h"
#include "emulation/link/peer_owner.h"

#include <QTcpServer>

namespace {

constexpr quint16 kFirstPort = 3240; // the one that clients take without being told
constexpr int kPorts = 256;          // that are tried
constexpr int kMostSessions = 8;
const QString kBusId = QStringLiteral("1-1");

/// Hands out the descriptors of its connections and keeps none of them.
class Listener final : public QTcpServer
{
public:
    explicit Listener(std::function<void(SocketDescriptor)> accepted) : m_accepted(std::move(accepted)) {}

protected:
    void incomingConnection(qintptr descriptor) override { m_accepted(descriptor); }

private:
    std::function<void(SocketDescriptor)> m_accepted;
};

/// One device for one client at a time; lists are answered besides.
class LoopbackServer final : public HostWay
{
public:
    explicit LoopbackServer(const HostWayContext& context)
        : m_context(context)
        , m_listener([this](SocketDescriptor descriptor) { accepted(descriptor); })
    {}

    void plugIn(const std::function<void(const QString&)>& failed) override
    {
        if (!m_listener.isListening() && !listen())
            return failed(QStringLiteral("no port of 127.0.0.1 is free: %1").arg(m_listener.errorString()));
        m_isOffered = true;
        m_state.way = HostState::Way::Server;
        m_state.address = QStringLiteral("127.0.0.1");
        m_state.port = m_listener.serverPort();
        m_state.busId = kBusId;
        m_context.changed();
    }

    /// The server keeps its port: a client that was told of it finds the device there again.
    void unplug() override
    {
        m_isOffered = false;
        m_connection.reset();
        m_state = {};
    }

    HostState state() const override { return m_state; }

private:
    static void warn(const QString& sentence) { qCWarning(emulationLog).noquote() << sentence; }

    bool listen()
    {
        for (int i = 0; i < kPorts; ++i)
            if (m_listener.listen(QHostAddress::LocalHost, static_cast<quint16>(kFirstPort + i)))
                return true;
        return false;
    }

    void accepted(SocketDescriptor descriptor)
    {
        StreamSocket socket(descriptor);
        const SocketEnd peer = socket.peerEnd();
        const SocketEnd local = socket.localEnd();
        if (!mayImport(ownerOfPeer(peer.address, peer.port, local.address, local.port)))
            return warn(QStringLiteral("A program of another user was refused."));
        if (m_sessions == kMostSessions)
            return warn(QStringLiteral("Too many clients ask at once."));
        ++m_sessions;
        auto* session = new OperationSession(std::move(socket), &m_listener);
        session->serve({[this] { return devices(); }, [this](const QString& busId) { return isBusy(busId); },
                        [this](StreamSocket taken) { imported(std::move(taken)); },
                        [this, session](const QString& reason) {
                            --m_sessions;
                            session->deleteLater();
                            if (!reason.isEmpty())
                                warn(QStringLiteral("Connection closed: ") + reason);
                        }});
    }

    std::vector<usbip::DeviceSummary> devices() const
    {
        if (!m_isOffered || m_connection)
            return {};
        usbip::DeviceSummary summary = m_context.device.summary();
        summary.path = ownServerPath();
        summary.busId = kBusId;
        summary.busNumber = usbIpDeviceId(0) >> 16;
        summary.deviceNumber = m_context.deviceNumber;
        return {summary};
    }

    bool isBusy(const QString& busId) const { return m_isOffered && m_connection && busId == kBusId; }

    void imported(StreamSocket socket)
    {
        m_connection = std::make_unique<HostConnection>(
            std::move(socket), m_context.device, usbIpDeviceId(m_context.deviceNumber), m_context.tap,
            HostConnection::Events{[this](bool configured) { setState(true, configured); },
                                   [this] {
                                       m_connection.reset();
                                       setState(false, false);
                                   }});
        setState(true, false);
    }

    void setState(bool attached, bool configured)
    {
        m_state.isAttached = attached;
        m_state.isConfigured = configured;
        m_context.changed();
    }

    HostWayContext m_context;
    HostState m_state;
    Listener m_listener;
    bool m_isOffered = false;
    int m_sessions = 0;
    std::unique_ptr<HostConnection> m_connection;
};

} // namespace

std::unique_ptr<HostWay> makeLoopbackServer(const HostWayContext& context)
{
    return std::make_unique<LoopbackServer>(context);
}
