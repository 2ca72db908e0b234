#include "emulation/process/running_device.h"

#include "devices/parameter_list.h"
#include "emulation/link/local_device.h"
#include "emulation/process/device_functions.h"

namespace {

/// Number of the device as USB/IP counts, 1 to 127: nearly always another one for another process.
std::uint32_t deviceNumber(qint64 processId)
{
    return 1 + static_cast<std::uint32_t>(processId % 127);
}

} // namespace

RunningDevice::RunningDevice(const DeviceContext& context) : m_context(context)
{}

RunningDevice::~RunningDevice() = default;

QString RunningDevice::start()
{
    if (const QString fault = makeDevice(); !fault.isEmpty())
        return fault;
    if (const QString fault = startChannels(); !fault.isEmpty())
        return fault;
    if (m_link)
        QObject::connect(m_link.get(), &DeviceLink::stateChanged, m_link.get(), [this] { tellHost(); });
    if (m_remote)
        m_remote->start();
    else if (m_link)
        m_link->plugIn();
    tellHost();
    return m_record->start(); // last: who finds the record may connect
}

QString RunningDevice::makeDevice()
{
    auto made = makeDeviceFunction(m_context);
    if (!made)
        return made.fault();
    m_function = made.take();
    if (m_context.device.type == DeviceType::UsbIp)
        makeRemoteDevice();
    if (!m_function)
        return {};
    const std::vector<QString> faults = usb::faultsOf(m_function->descriptors());
    if (!faults.empty())
        return QStringLiteral("The device's descriptors are wrong: %1").arg(faults.front());
    m_device = std::make_unique<LocalDevice>(*m_function);
    return {};
}

void RunningDevice::makeRemoteDevice()
{
    const QStringList& parameters = m_context.device.parameters;
    const QStringList server = parameters.value(parameter::UsbIpServer).split(QLatin1Char(':'));
    const RemoteAddress address{QHostAddress(server.value(0)), static_cast<quint16>(server.value(1).toUInt()),
                                parameters.value(parameter::UsbIpBusId)};
    auto remote = std::make_unique<RemoteDevice>(address, [this](bool isThere) { remoteChanged(isThere); });
    m_remote = remote.get();
    m_device = std::move(remote);
}

/// A device that comes back is plugged in again, unless it was pulled here or by the host meanwhile.
void RunningDevice::remoteChanged(bool isThere)
{
    const bool wasOffered = m_link->state().way != HostState::Way::None;
    if (!isThere && !wasOffered && m_wasThere)
        m_isPluggedIn = false;
    m_wasThere = isThere;
    if (isThere && m_isPluggedIn)
        m_link->plugIn();
    else if (!isThere)
        m_link->unplug();
    tellHost();
}

void RunningDevice::plug(bool in)
{
    m_isPluggedIn = in;
    if (!in)
        m_link->unplug();
    else if (!m_remote || m_remote->fault().isEmpty())
        m_link->plugIn();
}

QString RunningDevice::startChannels()
{
    const std::uint32_t number = deviceNumber(m_context.processId);
    m_capture = std::make_unique<CaptureServer>(m_context.processId, usbIpDeviceId(number), m_device.get());
    m_commands = std::make_unique<CommandServer>(
        m_context.processId,
        [this](const QString& command, const CommandServer::Answer& answer) { run(command, answer); });
    m_record = std::make_unique<RecordKeeper>(m_context);
    if (m_device)
        m_link = std::make_unique<DeviceLink>(*m_device, number, m_capture.get());
    for (DeviceService* service :
         {static_cast<DeviceService*>(m_capture.get()), static_cast<DeviceService*>(m_commands.get())}) {
        const QString fault = service->start();
        if (!fault.isEmpty())
            return fault;
    }
    return {};
}

void RunningDevice::run(const QString& command, const CommandServer::Answer& answer)
{
    if (command == QLatin1String("status"))
        return answer(commandDone(status()));
    const bool plugs = command == QLatin1String("attach");
    if (m_link && (plugs || command == QLatin1String("detach"))) {
        plug(plugs);
        return answer(commandDone(hostState().text()));
    }
    if (m_function)
        return m_function->carryOut(command, answer);
    answer(commandFailed(QStringLiteral("a device of this type knows no such command")));
}

QString RunningDevice::status() const
{
    const QString type = deviceTypeWord(m_context.device.type);
    if (!m_link)
        return type + QStringLiteral(": no host can use a device of this type yet");
    const QString reached = type + QStringLiteral(": ") + hostState().text();
    return m_function ? reached + QStringLiteral("; ") + m_function->status() : reached;
}

HostState RunningDevice::hostState() const
{
    HostState state = m_link ? m_link->state() : HostState();
    if (m_remote && !m_remote->fault().isEmpty())
        state.note = m_remote->fault();
    return state;
}

void RunningDevice::tellHost()
{
    m_record->setHost(hostState().toJson());
}
