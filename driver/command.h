// command.h: what every command of the engine is given.
#pragma once

#include "driver/causes.h"
#include "driver/device_platform.h"
#include "driver/messages/printer.h"
#include "driver/options.h"
#include "driver/result.h"

#include <string>

namespace driver {

/// Bit 0 of a command's flags: the option "f".
inline constexpr std::uint32_t kForceFlag = 1;

struct CommandContext
{
    DevicePlatform& platform;
    Printer& printer;
    Causes& causes;
    const std::wstring& program; ///< base name
    const MachineName& machine;
    std::uint32_t flags = 0;
    Arguments arguments; ///< those after the command
    Extras extras = {};

    /// What a command that fails returns; tells why.
    ResultCode failed(ErrorCode error, std::wstring_view subject = {}) const
    {
        causes.report(error, subject);
        return kFailure;
    }

    /// Tells of the arguments after the first `used`, which change nothing.
    void ignoreAfter(std::size_t used) const
    {
        for (std::size_t i = used; i < arguments.size(); ++i)
            printer.error(Message::Ignored, {program, arguments[i]});
    }

    /// Tells of a machine, for a command that works on this one only.
    void ignoreMachine() const
    {
        if (!machine.empty())
            printer.error(Message::Ignored, {program, L"-m:" + machine});
    }
};

} // namespace driver
