#include "driver/class_filters.h"
#include "driver/display/device_sections.h"

namespace driver {

namespace {

struct ClassFilters
{
    TextList upper;
    TextList lower;
};

ClassFilters classFilters(const CommandContext& context, const Device& device)
{
    const auto guid = parseGuid(device.text(DeviceProperty::ClassGuid).value_or(L""));
    if (!guid)
        return {};
    auto key = context.platform.openClassKey(*guid, kReadAccess, context.machine);
    if (!key) {
        context.causes.report(key.error(), guidText(*guid));
        return {};
    }
    const auto filters = [&](const wchar_t* name) {
        const auto list = readFilters(**key, name);
        context.causes.reportUnless(0, list.error(), guidText(*guid));
        return list ? *list : TextList();
    };
    TextList upper = filters(kUpperFilters);
    return {std::move(upper), filters(kLowerFilters)};
}

} // namespace

/// From the top of the stack down.
void sections::stack(const CommandContext& context, const Device& device)
{
    const ClassFilters ofClass = classFilters(context, device);
    TextList service;
    if (auto name = device.text(DeviceProperty::Service))
        service.push_back(std::move(*name));
    bool any = namedList(context.printer, Message::ClassUpperFilters, ofClass.upper);
    any |= namedList(context.printer, Message::UpperFilters, device.texts(DeviceProperty::UpperFilters));
    any |= namedList(context.printer, Message::Service, service);
    any |= namedList(context.printer, Message::LowerFilters, device.texts(DeviceProperty::LowerFilters));
    any |= namedList(context.printer, Message::ClassLowerFilters, ofClass.lower);
    if (!any)
        context.printer.message(Message::EmptyStack, {}, kIndent);
}

} // namespace driver
