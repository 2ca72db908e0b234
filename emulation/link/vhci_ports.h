// vhci_ports.h: the ports of Linux's virtual host controller, and how a device is put on one. Without Qt: the helper
// that runs with an administrator's rights uses it too.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vhci {

/// Where the controller shows itself; there is one set of files for all of its buses.
constexpr const char* kFolder = "/sys/devices/platform/vhci_hcd.0";

/// Of a port whose device has no address.
constexpr const char* kNoBusId = "0-0";

/// One line of a status file.
struct Port
{
    int number = 0; ///< as `attach` takes it
    bool isSuperSpeed = false;
    bool isFree = false;
    std::string busId; ///< where the device is in the host's tree ("3-1"); kNoBusId until it is there
};

/// The ports of the text of one status file; lines that are none, such as its heading, are left out.
std::vector<Port> parseStatus(const std::string& text);

/// All ports of the controller at `folder`: its files "status", "status.1", ... Empty when there is no controller.
std::vector<Port> readPorts(const std::string& folder);

enum class AttachResult
{
    Attached,
    NoController, ///< no such files
    NotPermitted,
    Full,   ///< no port of that speed is free
    Failed, ///< the kernel refused it
};

struct Attached
{
    AttachResult result = AttachResult::Failed;
    int port = -1;
};

/// Puts the device behind the connected stream socket on the first free port of its speed: 2 full, 3 high, 5 super. The
/// caller may close its copy of the socket afterwards.
Attached attach(const std::string& folder, int socket, std::uint32_t deviceId, int speed);

} // namespace vhci
