#include "driver/commands/commands.h"
#include "driver/display/device_sections.h"
#include "driver/selection.h"

namespace driver {

namespace {

/// Prints one device; whether it counts.
bool showDevice(const CommandContext& context, const Device& device, std::uint32_t sections)
{
    const auto id = device.id();
    if (sections == 0) {
        context.printer.deviceLine(id.value_or(L"?"), device.description());
        return true;
    }
    context.printer.text(id.value_or(L"?") + L"\n");
    if (id)
        showSections(device, context.printer, sections, context.machine);
    return id.has_value();
}

ResultCode showSelected(const CommandContext& context, std::uint32_t sections, std::uint32_t flags = kPresentDevices)
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

} // namespace

ResultCode commands::find(const CommandContext& context)
{
    return showSelected(context, 0);
}

ResultCode commands::findAll(const CommandContext& context)
{
    return showSelected(context, 0, kAllDevices);
}

ResultCode commands::status(const CommandContext& context)
{
    return showSelected(context, show::kDescription | show::kStatus);
}

ResultCode commands::resources(const CommandContext& context)
{
    return showSelected(context, show::kDescription | show::kResources);
}

ResultCode commands::driverFiles(const CommandContext& context)
{
    return showSelected(context, show::kDescription | show::kDriverFiles);
}

ResultCode commands::driverNodes(const CommandContext& context)
{
    return showSelected(context, show::kDescription | show::kDriverNodes);
}

ResultCode commands::hardwareIds(const CommandContext& context)
{
    return showSelected(context, show::kDescription | show::kHardwareIds);
}

ResultCode commands::stack(const CommandContext& context)
{
    return showSelected(context, show::kDescription | show::kClass | show::kStack);
}

} // namespace driver
