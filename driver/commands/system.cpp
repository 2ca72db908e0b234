#include "driver/commands/commands.h"
#include "driver/shutdown.h"

namespace driver {

ResultCode commands::rescan(const CommandContext& context)
{
    context.ignoreAfter(0);
    const auto machine = context.platform.connectMachine(context.machine);
    const auto root = machine ? (*machine)->locateRoot() : Failure{machine.error()};
    if (!root)
        return context.failed(root.error(), context.machine);
    context.printer.localOrRemote(Message::Rescanning, Message::RescanningRemote, context.machine);
    if (const Status done = (*machine)->reenumerate(*root); !done)
        return context.failed(done.error(), context.machine);
    context.printer.message(Message::Rescanned);
    return kSuccess;
}

ResultCode commands::reboot(const CommandContext& context)
{
    if (!context.machine.empty() || !context.arguments.empty())
        return kUsageError;
    context.printer.message(Message::Rebooting);
    return requestReboot(context.platform, context.causes) ? kSuccess : kFailure;
}

} // namespace driver
