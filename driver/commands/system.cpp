#include "driver/commands/commands.h"
#include "driver/shutdown.h"

namespace driver {

ResultCode commands::rescan(const CommandContext& context)
{
    std::unique_ptr<ConnectedMachine> machine;
    if (!context.machine.empty()) {
        auto connected = context.platform.connectMachine(context.machine);
        if (!connected)
            return kFailure;
        machine = std::move(*connected);
    }
    const auto root = context.platform.locateRoot(machine.get());
    if (!root)
        return kFailure;
    context.printer.localOrRemote(Message::Rescanning, Message::RescanningRemote, context.machine);
    if (!context.platform.reenumerate(*root, machine.get()))
        return kFailure;
    context.printer.message(Message::Rescanned);
    return kSuccess;
}

ResultCode commands::reboot(const CommandContext& context)
{
    if (!context.machine.empty())
        return kUsageError;
    context.printer.message(Message::Rebooting);
    return requestReboot(context.platform) ? kSuccess : kFailure;
}

} // namespace driver
