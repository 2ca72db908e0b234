#include "driver/commands/commands.h"
#include "driver/selection.h"
#include "driver/text.h"

#include <algorithm>
#include <functional>

namespace driver {

namespace {

constexpr std::uint32_t kFirstClassCount = 128;
constexpr std::uint32_t kFirstNamedCount = 16;
constexpr std::size_t kNameColumn = 20;

/// Asks again with as much room as was missing, until the list fits. Nothing on any other error.
std::optional<std::vector<Guid>> allGuids(std::uint32_t capacity, const std::function<GuidBatch(std::uint32_t)>& ask)
{
    GuidBatch batch = ask(capacity);
    while (batch.error == errors::kInsufficientBuffer) {
        capacity = std::max(batch.required, capacity + 1);
        batch = ask(capacity);
    }
    return batch.error == 0 ? std::optional(std::move(batch.guids)) : std::nullopt;
}

std::wstring descriptionOr(const CommandContext& context, const Guid& guid, const std::wstring& name)
{
    const auto description = context.platform.classDescription(guid, context.machine);
    return description ? *description : name;
}

ResultCode showBasicLine(const CommandContext& context, const Device& device)
{
    context.printer.deviceLine(device.shownId(), device.description());
    return kSuccess;
}

ResultCode listDevicesOf(const CommandContext& context, const Guid& guid, const std::wstring& askedName)
{
    auto list = context.platform.classDevices(guid, kPresentDevices, context.machine);
    if (!list)
        return kFailure;
    const auto detail = context.platform.listDetail(**list);
    if (!detail)
        return kFailure;
    const auto knownName = context.platform.className(guid, context.machine);
    const std::wstring name = knownName ? *knownName : askedName;
    const std::wstring description = descriptionOr(context, guid, name);
    std::uint32_t count = 0;
    while (context.platform.deviceAt(**list, count))
        ++count;
    if (count == 0) {
        context.printer.localOrRemote(Message::EmptyClass, Message::EmptyClassRemote, context.machine,
                                      {name, description});
        return kSuccess;
    }
    context.printer.localOrRemote(Message::ListClass, Message::ListClassRemote, context.machine,
                                  {std::to_wstring(count), name, description});
    return forEachDevice(context.platform, **list, *detail,
                         [&](const Device& device) { return showBasicLine(context, device); });
}

ResultCode listNamedClass(const CommandContext& context, const std::wstring& name)
{
    const auto guids = allGuids(kFirstNamedCount, [&](std::uint32_t capacity) {
        return context.platform.classGuidsFromName(name, capacity, context.machine);
    });
    if (!guids)
        return kFailure;
    if (guids->empty())
        context.printer.localOrRemote(Message::NoClass, Message::NoClassRemote, context.machine, {name});
    for (const Guid& guid : *guids)
        if (const ResultCode result = listDevicesOf(context, guid, name); result != kSuccess)
            return result;
    return kSuccess;
}

} // namespace

ResultCode commands::classes(const CommandContext& context)
{
    const auto guids = allGuids(kFirstClassCount, [&](std::uint32_t capacity) {
        return context.platform.buildClassList(capacity, context.machine);
    });
    if (!guids)
        return kFailure;
    context.printer.localOrRemote(Message::Classes, Message::ClassesRemote, context.machine,
                                  {std::to_wstring(guids->size())});
    for (const Guid& guid : *guids) {
        const auto known = context.platform.className(guid, context.machine);
        const std::wstring name = known ? *known : L"?";
        context.printer.text(padded(name, kNameColumn) + L": " + descriptionOr(context, guid, name) + L"\n");
    }
    return kSuccess;
}

ResultCode commands::listClass(const CommandContext& context)
{
    if (context.arguments.empty())
        return kUsageError;
    for (const std::wstring& name : context.arguments)
        if (!name.empty())
            if (const ResultCode result = listNamedClass(context, name); result != kSuccess)
                return result;
    return kSuccess;
}

} // namespace driver
