#include "emulation/link/host_connection.h"

#include "emulation/link/log.h"

#include <utility>

namespace {

constexpr std::size_t kMostInFlight = 16 * 1024 * 1024; // bytes
constexpr std::size_t kMostPending = 65536;             // submissions, whatever their size

TappedType typeOf(const usbip::Submit& submit)
{
    if (submit.endpoint == 0)
        return TappedType::Control;
    if (submit.packetCount > 0)
        return TappedType::Isochronous;
    return submit.interval > 0 ? TappedType::Interrupt : TappedType::Bulk;
}

/// The value of a SET_CONFIGURATION request.
std::optional<std::uint8_t> configurationOf(const usbip::Submit& submit)
{
    const bool isSetConfiguration = submit.endpoint == 0 && submit.setup[0] == 0 && submit.setup[1] == 9;
    return isSetConfiguration ? std::optional(submit.setup[2]) : std::nullopt;
}

} // namespace

HostConnection::HostConnection(StreamSocket socket, ExportedDevice& device, std::uint32_t deviceId, TrafficTap* tap,
                               Events events)
    : m_device(device)
    , m_deviceId(deviceId)
    , m_tap(tap)
    , m_events(std::move(events))
    , m_channel(std::move(socket), usbip::MessageParser(),
                {[this](usbip::Message&& message) { return received(std::move(message)); },
                 [this](const QString& fault) {
                     if (fault.isEmpty())
                         qCInfo(emulationLog) << "The host has gone";
                     else
                         qCWarning(emulationLog).noquote() << "Connection closed:" << fault;
                     const auto ended = m_events.ended; // it may destroy what holds it
                     ended();
                 }})
{
    m_device.attach(*this);
}

HostConnection::~HostConnection()
{
    m_device.detach();
}

QString HostConnection::received(usbip::Message&& message)
{
    if (auto* one = std::get_if<usbip::Submit>(&message))
        return submit(std::move(*one));
    return unlink(std::get<usbip::Unlink>(message));
}

QString HostConnection::submit(usbip::Submit&& submit)
{
    if (submit.deviceId != m_deviceId)
        return QStringLiteral("the host submitted to device %1").arg(submit.deviceId);
    if (m_pending.count(submit.sequence) != 0)
        return QStringLiteral("the host used sequence %1 twice").arg(submit.sequence);
    if (m_pending.size() == kMostPending)
        return QStringLiteral("the host has %1 transfers waiting").arg(kMostPending);
    if (wasTakenBackEarly(submit.sequence))
        return {};
    const Pending pending{submit.length, submit.endpoint, submit.in, typeOf(submit), configurationOf(submit)};
    m_pending.emplace(submit.sequence, pending);
    m_inFlight += pending.length;
    if (m_tap && m_tap->isOpen())
        m_tap->passed({usbip::headerOf(submit), usbip::Command::Submit, m_deviceId, submit.sequence, submit.endpoint,
                       submit.in, pending.type, submit.length, submit.data,
                       submit.endpoint == 0 ? &submit.setup : nullptr});
    if (m_inFlight <= kMostInFlight) {
        m_device.submit(std::move(submit));
        return {};
    }
    usbip::SubmitReply refused;
    refused.sequence = submit.sequence;
    refused.status = usbip::status::kNoMemory;
    refused.packetCount = submit.packetCount;
    refused.packets = std::move(submit.packets);
    for (usbip::IsochronousPacket& packet : refused.packets)
        packet = {packet.offset, packet.length, 0, usbip::status::kNoMemory};
    reply(std::move(refused));
    return {};
}

/// Linux sends what is to be submitted and what is to be taken back from two lists, one after the other. A transfer
/// that is taken back at once can lie in the first when only the second is looked at: its submission comes after its
/// unlink.
bool HostConnection::isYetToCome(std::uint32_t sequence) const
{
    return !m_newest || static_cast<std::int32_t>(sequence - *m_newest) > 0;
}

/// Of a submission that has come: nobody waits for its answer, and one would end the connection.
bool HostConnection::wasTakenBackEarly(std::uint32_t sequence)
{
    m_newest = sequence;
    const bool wasTakenBack = m_takenBackEarly.erase(sequence) != 0;
    for (auto each = m_takenBackEarly.begin(); each != m_takenBackEarly.end();)
        each = isYetToCome(*each) ? std::next(each) : m_takenBackEarly.erase(each);
    return wasTakenBack;
}

QString HostConnection::unlink(const usbip::Unlink& unlink)
{
    if (unlink.deviceId != m_deviceId)
        return QStringLiteral("the host took back a transfer of device %1").arg(unlink.deviceId);
    m_victims[unlink.sequence] = unlink.victim;
    if (m_victims.size() > kMostPending || m_takenBackEarly.size() == kMostPending)
        return QStringLiteral("the host took back too much at once");
    if (m_tap && m_tap->isOpen()) {
        const auto victim = m_pending.find(unlink.victim);
        const Pending of = victim == m_pending.end() ? Pending{} : victim->second;
        m_tap->passed({usbip::headerOf(unlink), usbip::Command::Unlink, m_deviceId, unlink.sequence, of.endpoint, of.in,
                       of.type, 0, QByteArray(), nullptr});
    }
    if (isYetToCome(unlink.victim)) {
        m_takenBackEarly.insert(unlink.victim);
        reply(usbip::UnlinkReply{unlink.sequence, usbip::status::kConnectionReset});
    } else {
        m_device.unlink(unlink);
    }
    return {};
}

void HostConnection::reply(usbip::SubmitReply reply)
{
    const auto found = m_pending.find(reply.sequence);
    if (found == m_pending.end())
        return;
    const Pending pending = found->second;
    forget(reply.sequence);
    if (m_tap && m_tap->isOpen())
        m_tap->passed({usbip::headerOf(reply), usbip::Command::SubmitReply, m_deviceId, reply.sequence,
                       pending.endpoint, pending.in, pending.type, reply.actualLength, reply.data, nullptr});
    m_channel.send(reply);
    if (pending.configuration && reply.status == usbip::status::kOk)
        m_events.configured(*pending.configuration != 0);
}

void HostConnection::reply(usbip::UnlinkReply reply)
{
    const std::uint32_t victim = m_victims[reply.sequence];
    m_victims.erase(reply.sequence);
    const auto found = m_pending.find(victim);
    const Pending of = found == m_pending.end() ? Pending{} : found->second;
    if (reply.status == usbip::status::kConnectionReset)
        forget(victim);
    if (m_tap && m_tap->isOpen())
        m_tap->passed({usbip::headerOf(reply), usbip::Command::UnlinkReply, m_deviceId, reply.sequence, of.endpoint,
                       of.in, of.type, 0, QByteArray(), nullptr});
    m_channel.send(reply);
}

void HostConnection::forget(std::uint32_t sequence)
{
    const auto found = m_pending.find(sequence);
    if (found == m_pending.end())
        return;
    m_inFlight -= found->second.length;
    m_pending.erase(found);
}
