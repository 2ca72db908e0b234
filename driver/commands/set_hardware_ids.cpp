#include "driver/commands/commands.h"
#include "driver/hardware_id_edit.h"
#include "driver/selection.h"

#include <algorithm>

namespace driver {

namespace {

constexpr std::wstring_view kSeparator = L":=";

struct Edit
{
    std::vector<IdOperation> operations;
    std::uint32_t skipped = 0;
    std::uint32_t modified = 0;
};

/// The list as it is now; a missing one is empty.
Outcome<TextList> currentIds(const Device& device)
{
    const auto data = device.list.property(device.index, DeviceProperty::HardwareIds);
    if (!data)
        return data.error() == errors::kInvalidData ? Outcome<TextList>(TextList()) : Failure{data.error()};
    return decodeTextList(*data);
}

/// The edited list, as it is in the device now.
Outcome<TextList> editIds(const Device& device, const std::vector<IdOperation>& operations)
{
    auto ids = currentIds(device);
    if (!ids)
        return ids;
    *ids = editHardwareIds(std::move(*ids), operations);
    const auto data = ids->empty() ? std::nullopt : std::optional(encodeTextList(*ids));
    const Status written = device.list.setProperty(device.index, DeviceProperty::HardwareIds, data);
    return written ? std::move(ids) : Failure{written.error()};
}

std::wstring joined(const TextList& ids)
{
    std::wstring text;
    for (const std::wstring& id : ids)
        text += (text.empty() ? L"" : L",") + id;
    return text;
}

ResultCode editDevice(const CommandContext& context, const Device& device, Edit& edit)
{
    const std::wstring id = device.shownId();
    const auto status = device.list.status(device.index);
    if (!status)
        return context.failed(status.error(), id);
    if ((status->flags & node_status::kRootEnumerated) == 0) {
        context.printer.text(devicePrefix(id));
        context.printer.message(Message::NotRootEnumerated);
        ++edit.skipped;
        return kSuccess;
    }
    const auto ids = editIds(device, edit.operations);
    if (!ids)
        return context.failed(ids.error(), id);
    context.printer.deviceLine(id, joined(*ids));
    ++edit.modified;
    return kSuccess;
}

void conclude(const CommandContext& context, const Edit& edit)
{
    if (edit.skipped > 0)
        context.printer.message(Message::IdsSkipped, {std::to_wstring(edit.skipped), std::to_wstring(edit.modified)});
    else if (edit.modified > 0)
        context.printer.message(Message::IdsChanged, {std::to_wstring(edit.modified)});
    else
        context.printer.message(Message::NoIdsChanged);
}

} // namespace

ResultCode commands::setHardwareIds(const CommandContext& context)
{
    const auto separator = std::ranges::find(context.arguments, kSeparator);
    const auto position = static_cast<std::size_t>(separator - context.arguments.begin());
    if (position == 0 || position + 1 >= context.arguments.size())
        return kUsageError;
    auto operations = parseIdOperations(context.arguments.subspan(position + 1));
    if (!operations)
        return kUsageError;
    Edit edit{std::move(*operations)};
    const Selected selected = selectDevices(context, context.arguments.first(position), kPresentDevices,
                                            [&](const Device& device) { return editDevice(context, device, edit); });
    if (selected.enumerated && selected.result == kSuccess)
        conclude(context, edit);
    return selected.result;
}

} // namespace driver
