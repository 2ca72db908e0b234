#include "emulation/link/attach_helper_linux.h"
#include "emulation/link/bus_id_search.h"
#include "emulation/link/host_connection.h"
#include "emulation/link/host_way.h"
#include "emulation/link/vhci_ports.h"

#include <sys/socket.h>
#include <unistd.h>

namespace {

QString sentence(vhci::AttachResult result)
{
    switch (result) {
    case vhci::AttachResult::NoController:
        return QStringLiteral("the kernel's virtual host controller is not there");
    case vhci::AttachResult::NotPermitted:
        return QStringLiteral("the virtual host controller may not be written");
    case vhci::AttachResult::Full:
        return QStringLiteral("all ports of the virtual host controller are taken");
    case vhci::AttachResult::Failed:
        return QStringLiteral("the virtual host controller refused the device");
    case vhci::AttachResult::Attached:
        break;
    }
    return {};
}

/// One end of a socket pair goes to the kernel, which speaks USB/IP over it; there is no network.
class KernelAttach final : public HostWay
{
public:
    explicit KernelAttach(const HostWayContext& context)
        : m_context(context)
        , m_busIdSearch({[this] { return busId(); },
                         [this](const QString& busId) {
                             m_state.busId = busId;
                             m_state.note.clear();
                             m_context.changed();
                         },
                         [this] {
                             m_state.note = QStringLiteral("the kernel gave the device no address");
                             m_context.changed();
                         }})
    {}

    void plugIn(const std::function<void(const QString&)>& failed) override
    {
        if (m_connection || m_helper)
            return;
        std::array<int, 2> pair{};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0)
            return failed(QStringLiteral("no socket pair can be made"));
        StreamSocket ours(pair[0]);
        const int theirs = pair[1];
        const usbip::DeviceSummary summary = m_context.device.summary();
        const auto speed = static_cast<int>(summary.speed);
        const vhci::Attached attached = vhci::attach(vhci::kFolder, theirs, deviceId(), speed);
        const bool mayAsk =
            attached.result == vhci::AttachResult::NoController || attached.result == vhci::AttachResult::NotPermitted;
        if (attached.result == vhci::AttachResult::Attached) {
            begin(std::move(ours), attached.port);
        } else if (mayAsk && AttachHelper::isInstalled()) {
            m_helper = std::make_unique<AttachHelper>(
                theirs, deviceId(), speed,
                [this, failed](int port, const QString& reason) { helperEnded(port, reason, failed); });
            m_waiting = std::move(ours);
        } else {
            failed(sentence(attached.result));
        }
        ::close(theirs);
    }

    void unplug() override
    {
        m_busIdSearch.stop();
        m_helper.reset();
        m_waiting = {};
        m_connection.reset();
        m_state = {};
    }

    HostState state() const override { return m_state; }

private:
    std::uint32_t deviceId() const { return usbIpDeviceId(m_context.deviceNumber); }

    void begin(StreamSocket socket, int port)
    {
        m_state = {};
        m_state.way = HostState::Way::Kernel;
        m_state.port = port;
        m_state.isAttached = true;
        m_connection = std::make_unique<HostConnection>(
            std::move(socket), m_context.device, deviceId(), m_context.tap,
            HostConnection::Events{[this](bool configured) { setConfigured(configured); },
                                   [this] {
                                       unplug();
                                       m_state.note = QStringLiteral("the kernel detached the device");
                                       m_context.changed();
                                   }});
        m_busIdSearch.start();
        m_context.changed();
    }

    void helperEnded(int port, const QString& reason, const std::function<void(const QString&)>& failed)
    {
        m_helper.release()->deleteLater();
        StreamSocket socket = std::move(m_waiting);
        if (port >= 0)
            begin(std::move(socket), port);
        else
            failed(reason);
    }

    void setConfigured(bool configured)
    {
        m_state.isConfigured = configured;
        m_context.changed();
        if (configured && m_state.busId.isEmpty())
            m_busIdSearch.start(); // it has an address now, however late
    }

    /// Empty until the device has an address.
    QString busId() const
    {
        for (const vhci::Port& port : vhci::readPorts(vhci::kFolder))
            if (port.number == m_state.port && port.busId != vhci::kNoBusId)
                return QString::fromStdString(port.busId);
        return {};
    }

    HostWayContext m_context;
    HostState m_state;
    BusIdSearch m_busIdSearch;
    std::unique_ptr<AttachHelper> m_helper;
    StreamSocket m_waiting; // for the helper to end
    std::unique_ptr<HostConnection> m_connection;
};

} // namespace

std::unique_ptr<HostWay> makeKernelAttach(const HostWayContext& context)
{
    return std::make_unique<KernelAttach>(context);
}
