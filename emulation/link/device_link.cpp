#include "emulation/link/device_link.h"

#include "emulation/link/log.h"

HostChoice hostChoice()
{
    const QByteArray text = qgetenv("PLUGBOARD_HOST");
    if (text == "kernel")
        return HostChoice::Kernel;
    if (text == "server")
        return HostChoice::Server;
    return text == "none" ? HostChoice::None : HostChoice::Any;
}

DeviceLink::DeviceLink(ExportedDevice& device, std::uint32_t deviceNumber, TrafficTap* tap, HostChoice choice)
{
    const HostWayContext context{device, deviceNumber, tap, [this] { emit stateChanged(); }};
    if (choice == HostChoice::Any || choice == HostChoice::Kernel)
        m_kernel = makeKernelAttach(context);
    if (choice == HostChoice::Any || choice == HostChoice::Server)
        m_server = makeLoopbackServer(context);
}

DeviceLink::~DeviceLink() = default;

void DeviceLink::plugIn()
{
    if (m_way && m_way->state().way != HostState::Way::None)
        return;
    m_note.clear();
    tryKernel();
}

void DeviceLink::tryKernel()
{
    if (!m_kernel)
        return tryServer({});
    m_way = m_kernel.get();
    m_way->plugIn([this](const QString& reason) { tryServer(reason); });
}

void DeviceLink::tryServer(const QString& note)
{
    m_note = note;
    if (!note.isEmpty())
        qCInfo(emulationLog).noquote() << "Not attached here:" << note;
    m_way = m_server.get();
    if (!m_way) {
        emit stateChanged();
        return;
    }
    m_way->plugIn([this](const QString& reason) {
        m_note = reason;
        m_way = nullptr;
        qCWarning(emulationLog).noquote() << "No server:" << reason;
        emit stateChanged();
    });
}

void DeviceLink::unplug()
{
    if (!m_way)
        return;
    m_way->unplug();
    m_way = nullptr;
    emit stateChanged();
}

HostState DeviceLink::state() const
{
    HostState state = m_way ? m_way->state() : HostState();
    if (state.note.isEmpty())
        state.note = m_note;
    return state;
}
