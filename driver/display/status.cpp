#include "driver/display/device_sections.h"

namespace driver {

void sections::status(const Device& device, Printer& printer)
{
    const auto status = device.platform.deviceStatus(device.list, device.index, device.detail.machine);
    if (!status) {
        const bool gone =
            status.error() == configuration::kNoSuchDevice || status.error() == configuration::kNoSuchValue;
        printer.message(gone ? Message::DeviceNotPresent : Message::DeviceStatusUnknown, {}, kIndent);
        return;
    }
    const bool problem = status->flags & node_status::kHasProblem;
    const bool privateProblem = status->flags & node_status::kPrivateProblem;
    const bool started = status->flags & node_status::kStarted;
    if (problem && status->problem == node_status::kProblemDisabled) {
        printer.message(Message::DeviceDisabled, {}, kIndent);
        return;
    }
    if (problem)
        printer.message(Message::DeviceProblem, {std::to_wstring(status->problem)}, kIndent);
    if (privateProblem)
        printer.message(Message::DevicePrivateProblem, {}, kIndent);
    if (started)
        printer.message(Message::DeviceRunning, {}, kIndent);
    if (!problem && !privateProblem && !started)
        printer.message(Message::DeviceStopped, {}, kIndent);
}

} // namespace driver
