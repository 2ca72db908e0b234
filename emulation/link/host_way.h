// host_way.h: a way from the device to a host.
#pragma once

#include "emulation/link/exported_device.h"
#include "emulation/link/host_state.h"
#include "emulation/link/traffic_tap.h"

#include <functional>
#include <memory>

/// The number by which USB/IP messages name a device.
constexpr std::uint32_t usbIpDeviceId(std::uint32_t deviceNumber)
{
    constexpr std::uint32_t kBusNumber = 1;
    return kBusNumber << 16 | deviceNumber;
}

/// What every way is made with. All of it outlives the way.
struct HostWayContext
{
    ExportedDevice& device;
    std::uint32_t deviceNumber = 1; ///< on bus 1
    TrafficTap* tap = nullptr;
    std::function<void()> changed; ///< state() says something new
};

/// Lives on the event loop's thread. Destroying one takes the device from its host.
class HostWay
{
public:
    virtual ~HostWay() = default;

    /// Plugs the device in, now or as soon as a host asks for it. Done once, `failed` is called, perhaps at once, if
    /// this way turns out to lead nowhere; the way is then as before.
    virtual void plugIn(const std::function<void(const QString& reason)>& failed) = 0;
    virtual void unplug() = 0;

    virtual HostState state() const = 0;
};

/// This machine's virtual host controller. Null on systems without one. Implemented per system.
std::unique_ptr<HostWay> makeKernelAttach(const HostWayContext& context);
/// A server on loopback for USB/IP clients of the same user.
std::unique_ptr<HostWay> makeLoopbackServer(const HostWayContext& context);
