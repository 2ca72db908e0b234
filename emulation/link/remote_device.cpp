#include "emulation/link/remote_device.h"

#include "emulation/link/log.h"

#include <QtEndian>

#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr auto kRetryInterval = 5s;
constexpr auto kFetchAnewInterval = 500ms; // after a host has gone: the server's machine takes a moment

bool asksForConfiguration(const usbip::Submit& submit)
{
    const bool isGetDescriptor = submit.setup[0] == 0x80 && submit.setup[1] == 6;
    return submit.endpoint == 0 && isGetDescriptor && submit.setup[3] == 2 && submit.setup[2] == 0;
}

/// Whether these are all bytes of a configuration, not just its head.
bool isWholeConfiguration(const QByteArray& bytes)
{
    return bytes.size() >= 9 && qFromLittleEndian<quint16>(bytes.constData() + 2) == bytes.size();
}

} // namespace

RemoteDevice::RemoteDevice(const RemoteAddress& address, Changed changed)
    : m_address(address)
    , m_changed(std::move(changed))
    , m_fault(QStringLiteral("the server was not asked yet"))
{
    m_retry.setSingleShot(true);
    QObject::connect(&m_retry, &QTimer::timeout, &m_retry, [this] { start(); });
}

RemoteDevice::~RemoteDevice() = default;

void RemoteDevice::start()
{
    const auto ended = [this] { m_import.release()->deleteLater(); };
    m_import = std::make_unique<RemoteImport>(
        m_address, RemoteImport::Events{[this, ended](StreamSocket socket, const usbip::DeviceSummary& summary) {
                                            ended();
                                            imported(std::move(socket), summary);
                                        },
                                        [this, ended](const QString& reason) {
                                            ended();
                                            lost(reason, kRetryInterval);
                                        }});
}

void RemoteDevice::imported(StreamSocket socket, const usbip::DeviceSummary& summary)
{
    m_summary = summary;
    m_configuration.clear();
    m_fault.clear();
    m_channel = std::make_unique<MessageChannel>(
        std::move(socket), usbip::MessageParser([this](std::uint32_t sequence) { return asked(sequence); }),
        MessageChannel::Events{[this](usbip::Message&& message) { return received(std::move(message)); },
                               [this](const QString& fault) {
                                   lost(fault.isEmpty() ? QStringLiteral("the server closed the connection") : fault,
                                        kRetryInterval);
                               }});
    qCInfo(emulationLog).noquote() << "Imported" << m_address.busId;
    m_changed(true);
}

void RemoteDevice::lost(const QString& reason, std::chrono::milliseconds retryIn)
{
    if (reason != m_fault)
        qCWarning(emulationLog).noquote() << "The remote device is not there:" << reason;
    m_fault = reason;
    m_channel.reset();
    m_pending.clear();
    m_victims.clear();
    m_retry.start(retryIn);
    m_changed(false);
}

void RemoteDevice::attach(DeviceHost& host)
{
    m_host = &host;
}

/// The server's machine resets the device when it is imported anew, and nothing of the last host is left. Who detaches
/// is in the middle of it, so they hear of it later.
void RemoteDevice::detach()
{
    m_host = nullptr;
    if (!m_channel)
        return;
    m_channel.reset();
    QTimer::singleShot(0, &m_retry, [this] {
        lost(QStringLiteral("the host has gone, the device is fetched anew"), kFetchAnewInterval);
    });
}

void RemoteDevice::submit(usbip::Submit submit)
{
    if (!m_channel)
        return;
    m_pending[submit.sequence] = {{submit.in, submit.length, static_cast<std::uint32_t>(submit.packets.size())},
                                  asksForConfiguration(submit)};
    submit.deviceId = m_summary.deviceId();
    m_channel->send(submit);
}

void RemoteDevice::unlink(const usbip::Unlink& unlink)
{
    if (!m_channel)
        return;
    m_victims[unlink.sequence] = unlink.victim;
    m_channel->send(usbip::Unlink{unlink.sequence, m_summary.deviceId(), unlink.victim});
}

std::optional<usbip::Asked> RemoteDevice::asked(std::uint32_t sequence) const
{
    const auto found = m_pending.find(sequence);
    return found == m_pending.end() ? std::nullopt : std::optional(found->second.asked);
}

QString RemoteDevice::received(usbip::Message&& message)
{
    if (auto* reply = std::get_if<usbip::SubmitReply>(&message)) {
        const auto pending = m_pending.extract(reply->sequence);
        if (pending.mapped().asksForConfiguration && isWholeConfiguration(reply->data))
            m_configuration = reply->data;
        if (m_host)
            m_host->reply(std::move(*reply));
        return {};
    }
    const auto& reply = std::get<usbip::UnlinkReply>(message);
    const auto victim = m_victims.extract(reply.sequence);
    if (!victim)
        return QStringLiteral("the server answered an unlink that was not asked");
    if (reply.status == usbip::status::kConnectionReset)
        m_pending.erase(victim.mapped());
    if (m_host)
        m_host->reply(reply);
    return {};
}
