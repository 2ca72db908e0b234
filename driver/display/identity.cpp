#include "driver/display/device_sections.h"

namespace driver {

void sections::description(const CommandContext& context, const Device& device)
{
    context.printer.message(Message::DeviceName, {device.description()}, kIndent);
}

void sections::setupClass(const CommandContext& context, const Device& device)
{
    const auto name = device.text(DeviceProperty::ClassName);
    const auto guid = device.text(DeviceProperty::ClassGuid);
    if (!name && !guid) {
        context.printer.message(Message::NoDeviceClass, {}, kIndent);
        return;
    }
    const std::wstring notSet = messageWords(Message::NotSet);
    context.printer.message(Message::DeviceClass, {name.value_or(notSet), guid.value_or(notSet)}, kIndent);
}

void sections::hardwareIds(const CommandContext& context, const Device& device)
{
    const bool hardware = namedList(context.printer, Message::HardwareIds, device.texts(DeviceProperty::HardwareIds));
    const bool compatible =
        namedList(context.printer, Message::CompatibleIds, device.texts(DeviceProperty::CompatibleIds));
    if (!hardware && !compatible)
        context.printer.message(Message::NoIds, {}, kIndent);
}

} // namespace driver
