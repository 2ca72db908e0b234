#include "driver/display/device_sections.h"

namespace driver {

void sections::status(const CommandContext& context, const Device& device)
{
    const auto status = device.list.status(device.index, device.detail.machine);
    if (!status) {
        const bool gone = configuration::isAbsence(status.error());
        if (!gone)
            device.reportUnless(0, status.error());
        context.printer.message(gone ? Message::DeviceNotPresent : Message::DeviceStatusUnknown, {}, kIndent);
        return;
    }
    const bool problem = status->flags & node_status::kHasProblem;
    const bool privateProblem = status->flags & node_status::kPrivateProblem;
    const bool started = status->flags & node_status::kStarted;
    if (problem && status->problem == node_status::kProblemDisabled) {
        context.printer.message(Message::DeviceDisabled, {}, kIndent);
        return;
    }
    if (problem)
        context.printer.message(Message::DeviceProblem, {std::to_wstring(status->problem)}, kIndent);
    if (privateProblem)
        context.printer.message(Message::DevicePrivateProblem, {}, kIndent);
    if (started)
        context.printer.message(Message::DeviceRunning, {}, kIndent);
    if (!problem && !privateProblem && !started)
        context.printer.message(Message::DeviceStopped, {}, kIndent);
}

} // namespace driver
