#include "driver/display/device_sections.h"

namespace driver {

void showSections(const Device& device, Printer& printer, std::uint32_t flags, const MachineName& machine)
{
    if (flags & show::kDescription)
        sections::description(device, printer);
    if (flags & show::kClass)
        sections::setupClass(device, printer);
    if (flags & show::kStatus)
        sections::status(device, printer);
    if (flags & show::kResources)
        sections::resources(device, printer);
    if (flags & show::kDriverFiles)
        sections::driverFiles(device, printer);
    if (flags & show::kStack)
        sections::stack(device, printer, machine);
    if (flags & show::kHardwareIds)
        sections::hardwareIds(device, printer);
    if (flags & show::kDriverNodes)
        sections::driverNodes(device, printer);
}

bool sections::namedList(Printer& printer, Message heading, const TextList& entries)
{
    if (entries.empty())
        return false;
    printer.message(heading, {}, kIndent);
    for (const std::wstring& entry : entries)
        printer.text(std::wstring(kIndent) + std::wstring(kIndent) + entry + L"\n");
    return true;
}

} // namespace driver
