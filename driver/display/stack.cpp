#include "driver/class_filters.h"
#include "driver/display/device_sections.h"

namespace driver {

namespace {

struct ClassFilters
{
    TextList upper;
    TextList lower;
};

ClassFilters classFilters(const Device& device, const MachineName& machine)
{
    const auto guid = parseGuid(device.text(DeviceProperty::ClassGuid).value_or(L""));
    if (!guid)
        return {};
    auto key = device.platform.openClassKey(*guid, kReadAccess, machine);
    if (!key)
        return {};
    const auto filters = [&](const wchar_t* name) {
        const auto list = readFilters(device.platform, **key, name);
        return list ? *list : TextList();
    };
    TextList upper = filters(kUpperFilters);
    return {std::move(upper), filters(kLowerFilters)};
}

} // namespace

/// From the top of the stack down.
void sections::stack(const Device& device, Printer& printer, const MachineName& machine)
{
    const ClassFilters ofClass = classFilters(device, machine);
    TextList service;
    if (auto name = device.text(DeviceProperty::Service))
        service.push_back(std::move(*name));
    bool any = namedList(printer, Message::ClassUpperFilters, ofClass.upper);
    any |= namedList(printer, Message::UpperFilters, device.texts(DeviceProperty::UpperFilters));
    any |= namedList(printer, Message::Service, service);
    any |= namedList(printer, Message::LowerFilters, device.texts(DeviceProperty::LowerFilters));
    any |= namedList(printer, Message::ClassLowerFilters, ofClass.lower);
    if (!any)
        printer.message(Message::EmptyStack, {}, kIndent);
}

} // namespace driver
