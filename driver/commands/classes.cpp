#include "driver/commands/class_guids.h"
#include "driver/commands/commands.h"
#include "driver/selection.h"
#include "driver/text.h"

namespace driver {

namespace {

constexpr std::size_t kNameColumn = 20;

std::wstring descriptionOr(const CommandContext& context, const Guid& guid, const std::wstring& name)
{
    const auto description = context.platform.classDescription(guid, context.machine);
    context.causes.reportUnless(errors::kInvalidClass, description.error(), name);
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
    if (const Status read = list ? (*list)->readDetail() : Failure{list.error()}; !read)
        return context.failed(read.error(), askedName);
    const auto knownName = context.platform.className(guid, context.machine);
    const std::wstring name = knownName ? *knownName : askedName;
    context.causes.reportUnless(errors::kInvalidClass, knownName.error(), name);
    const std::wstring description = descriptionOr(context, guid, name);
    std::uint32_t count = 0;
    forEachDevice(context.causes, **list, [&](const Device&) {
        ++count;
        return kSuccess;
    });
    if (count == 0) {
        context.printer.localOrRemote(Message::EmptyClass, Message::EmptyClassRemote, context.machine,
                                      {name, description});
        return kSuccess;
    }
    context.printer.localOrRemote(Message::ListClass, Message::ListClassRemote, context.machine,
                                  {std::to_wstring(count), name, description});
    return forEachDevice(context.causes, **list, [&](const Device& device) { return showBasicLine(context, device); });
}

ResultCode listNamedClass(const CommandContext& context, const std::wstring& name)
{
    const auto guids = classesNamed(context, name);
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
    context.ignoreAfter(0);
    const auto guids = allClasses(context);
    if (!guids)
        return kFailure;
    context.printer.localOrRemote(Message::Classes, Message::ClassesRemote, context.machine,
                                  {std::to_wstring(guids->size())});
    for (const Guid& guid : *guids) {
        const auto known = context.platform.className(guid, context.machine);
        const std::wstring name = known ? *known : L"?";
        context.causes.reportUnless(errors::kInvalidClass, known.error(), guidText(guid));
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
