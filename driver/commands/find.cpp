#include "driver/commands/commands.h"
#include "driver/display/device_sections.h"
#include "driver/display/problem_names.h"
#include "driver/selection.h"

namespace driver {

namespace {

/// Prints a device that has a problem; whether it has one.
bool showProblem(const CommandContext& context, const Device& device)
{
    const auto status = device.status();
    if (!status || (status->flags & node_status::kHasProblem) == 0)
        return false;
    context.printer.deviceLine(device.shownId(), device.description() + L": " + problemName(status->problem));
    return true;
}

/// Prints one device; whether it counts.
bool showDevice(const CommandContext& context, const Device& device, std::uint32_t sections)
{
    if (context.extras.problem)
        return showProblem(context, device);
    const auto id = device.id();
    const std::wstring shown = id ? *id : kUnknownId;
    context.causes.reportUnless(0, id.error(), shown);
    if (sections == 0) {
        context.printer.deviceLine(shown, device.description());
        return true;
    }
    context.printer.text(shown + L"\n");
    if (id)
        showSections(context, device, sections);
    return static_cast<bool>(id);
}

} // namespace

ResultCode commands::showSelected(const CommandContext& context, std::uint32_t sections, std::uint32_t flags)
{
    std::uint32_t count = 0;
    const Selected selected = selectDevices(context, context.arguments, flags, [&](const Device& device) {
        count += showDevice(context, device, sections) ? 1 : 0;
        return kSuccess;
    });
    if (!selected.enumerated)
        return selected.result;
    if (count == 0)
        context.printer.localOrRemote(Message::NoneFound, Message::NoneFoundRemote, context.machine);
    else
        context.printer.localOrRemote(Message::Found, Message::FoundRemote, context.machine, {std::to_wstring(count)});
    return selected.result;
}

} // namespace driver
