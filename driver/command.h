// command.h: what every command of the engine is given.
#pragma once

#include "driver/device_platform.h"
#include "driver/messages/printer.h"
#include "driver/result.h"

#include <span>
#include <string>

namespace driver {

/// Bit 0 of a command's flags: the option "f".
inline constexpr std::uint32_t kForceFlag = 1;

using Arguments = std::span<const std::wstring>;

struct CommandContext
{
    DevicePlatform& platform;
    Printer& printer;
    const std::wstring& program; ///< base name
    const MachineName& machine;
    std::uint32_t flags = 0;
    Arguments arguments; ///< those after the command
};

} // namespace driver
