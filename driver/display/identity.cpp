#include "driver/display/device_sections.h"

namespace driver {

void sections::description(const Device& device, Printer& printer)
{
    printer.message(Message::DeviceName, {device.description()}, kIndent);
}

void sections::setupClass(const Device& device, Printer& printer)
{
    const auto name = device.text(DeviceProperty::ClassName);
    const auto guid = device.text(DeviceProperty::ClassGuid);
    if (!name && !guid) {
        printer.message(Message::NoDeviceClass, {}, kIndent);
        return;
    }
    const std::wstring notSet = messageWords(Message::NotSet);
    printer.message(Message::DeviceClass, {name.value_or(notSet), guid.value_or(notSet)}, kIndent);
}

void sections::hardwareIds(const Device& device, Printer& printer)
{
    const bool hardware = namedList(printer, Message::HardwareIds, device.texts(DeviceProperty::HardwareIds));
    const bool compatible = namedList(printer, Message::CompatibleIds, device.texts(DeviceProperty::CompatibleIds));
    if (!hardware && !compatible)
        printer.message(Message::NoIds, {}, kIndent);
}

} // namespace driver
