#include "driver/display/device_sections.h"

#include <utility>

namespace driver {

void showSections(const CommandContext& context, const Device& device, std::uint32_t flags)
{
    using Section = std::pair<std::uint32_t, void (*)(const CommandContext&, const Device&)>;
    constexpr Section kInOrder[] = {
        {show::kDescription, sections::description}, {show::kClass, sections::setupClass},
        {show::kStatus, sections::status},           {show::kResources, sections::resources},
        {show::kDriverFiles, sections::driverFiles}, {show::kStack, sections::stack},
        {show::kHardwareIds, sections::hardwareIds}, {show::kDriverNodes, sections::driverNodes}};
    for (const auto& [flag, print] : kInOrder)
        if (flags & flag)
            print(context, device);
}

bool sections::namedList(Printer& printer, Message heading, const TextList& entries, const TextList& inserts)
{
    if (entries.empty())
        return false;
    printer.message(heading, inserts, kIndent);
    for (const std::wstring& entry : entries)
        printer.text(std::wstring(kIndent) + std::wstring(kIndent) + entry + L"\n");
    return true;
}

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

void sections::status(const CommandContext& context, const Device& device)
{
    const auto status = device.status();
    if (!status) {
        const bool gone = configuration::isAbsence(status.error());
        context.printer.message(gone ? Message::DeviceNotPresent : Message::DeviceStatusUnknown, {}, kIndent);
        return;
    }
    const bool problem = status->flags & node_status::kHasProblem;
    const bool privateProblem = status->flags & node_status::kPrivateProblem;
    const bool started = status->flags & node_status::kStarted;
    if (problem && status->problem == node_status::kProblemDisabled) {
        context.printer.message(Message::DeviceDisabled, {}, kIndent);
        return;
    }
    if (problem)
        context.printer.message(Message::DeviceProblem, {std::to_wstring(status->problem)}, kIndent);
    if (privateProblem)
        context.printer.message(Message::DevicePrivateProblem, {}, kIndent);
    if (started)
        context.printer.message(Message::DeviceRunning, {}, kIndent);
    if (!problem && !privateProblem && !started)
        context.printer.message(Message::DeviceStopped, {}, kIndent);
}

} // namespace driver
