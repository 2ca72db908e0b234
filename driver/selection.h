// selection.h: which devices a command's arguments select.
#pragma once

#include "driver/command.h"
#include "driver/device.h"

#include <functional>

namespace driver {

/// Enumeration flags.
inline constexpr std::uint32_t kAllDevices = 0;
inline constexpr std::uint32_t kPresentDevices = 2;
inline constexpr std::uint32_t kDeviceInterfaces = 0x10;

/// Called for each selected device, in list order. A result other than 0 ends the enumeration.
using DeviceCallback = std::function<ResultCode(const Device&)>;

struct Selected
{
    ResultCode result = kSuccess;
    bool enumerated = false; ///< false when the arguments name an unknown class, or no devices could be listed
};

/// `arguments` are an optional "=CLASS" and then "*" or templates (template_match.h). None at all is a usage error; a
/// class that does not exist selects nothing and is a success; a lookup or a list that fails is a failure. Failures are
/// reported.
Selected selectDevices(const CommandContext& context, Arguments arguments, std::uint32_t flags,
                       const DeviceCallback& callback);

/// `callback` for each device of an open list. One that cannot be read ends it, and is reported.
ResultCode forEachDevice(Causes& causes, DeviceList& list, const DeviceCallback& callback);

} // namespace driver
