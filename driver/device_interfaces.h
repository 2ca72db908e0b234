// device_interfaces.h: which present devices expose a device interface.
#pragma once

#include "driver/device_platform.h"

#include <string>
#include <vector>

namespace driver {

/// Interface class of the virtual host controller, {4D10A44F-446C-4481-B354-4F04E6C69812}.
inline constexpr Guid kHostControllerInterface{
    0x4D10A44F, 0x446C, 0x4481, {0xB3, 0x54, 0x4F, 0x04, 0xE6, 0xC6, 0x98, 0x12}};

/// Device paths of all present devices that expose `interfaceClass`, in the system's order; empty when they cannot be
/// listed. A path that cannot be read, or does not fit 8192 bytes of detail, ends the list.
std::vector<std::wstring> devicePaths(DevicePlatform& platform, const Guid& interfaceClass);

} // namespace driver
