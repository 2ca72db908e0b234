// host_connection.h: one host that has imported the device.
#pragma once

#include "emulation/link/exported_device.h"
#include "emulation/link/message_channel.h"
#include "emulation/link/traffic_tap.h"

#include <map>
#include <optional>
#include <set>

/// Speaks USB/IP with the host over a connected socket for as long as that is open, and keeps within bounds what the
/// host may ask for: 16 MiB in flight, beyond which submissions fail.
class HostConnection final : private DeviceHost
{
public:
    struct Events
    {
        /// The host has configured the device, or taken the configuration away.
        std::function<void(bool)> configured;
        /// The host is gone, or did what no host does, which is logged. May destroy the connection.
        std::function<void()> ended;
    };

    /// Attaches the device. `tap` may be null; both outlive the connection. Messages must name `deviceId`.
    HostConnection(StreamSocket socket, ExportedDevice& device, std::uint32_t deviceId, TrafficTap* tap, Events events);
    ~HostConnection() override;
    HostConnection(const HostConnection&) = delete;
    HostConnection& operator=(const HostConnection&) = delete;

private:
    /// A submission that is not answered.
    struct Pending
    {
        std::uint32_t length = 0;
        std::uint8_t endpoint = 0;
        bool in = false;
        TappedType type = TappedType::Control;
        std::optional<std::uint8_t> configuration; // that it sets
    };

    QString received(usbip::Message&& message);
    QString submit(usbip::Submit&& submit);
    QString unlink(const usbip::Unlink& unlink);
    bool isYetToCome(std::uint32_t sequence) const;
    bool wasTakenBackEarly(std::uint32_t sequence);
    void reply(usbip::SubmitReply reply) override;
    void reply(usbip::UnlinkReply reply) override;
    void forget(std::uint32_t sequence);

    ExportedDevice& m_device;
    std::uint32_t m_deviceId;
    TrafficTap* m_tap;
    Events m_events;
    std::map<std::uint32_t, Pending> m_pending;
    std::map<std::uint32_t, std::uint32_t> m_victims; // by the sequence of the unlink
    std::optional<std::uint32_t> m_newest;            // sequence of a submission; they only grow, and wrap
    std::set<std::uint32_t> m_takenBackEarly;         // sequences of submissions that have not come yet
    std::size_t m_inFlight = 0;                       // bytes
    MessageChannel m_channel;
};
