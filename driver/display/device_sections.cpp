#include "driver/display/device_sections.h"

namespace driver {

void showSections(const CommandContext& context, const Device& device, std::uint32_t flags)
{
    if (flags & show::kDescription)
        sections::description(context, device);
    if (flags & show::kClass)
        sections::setupClass(context, device);
    if (flags & show::kStatus)
        sections::status(context, device);
    if (flags & show::kResources)
        sections::resources(context, device);
    if (flags & show::kDriverFiles)
        sections::driverFiles(context, device);
    if (flags & show::kStack)
        sections::stack(context, device);
    if (flags & show::kHardwareIds)
        sections::hardwareIds(context, device);
    if (flags & show::kDriverNodes)
        sections::driverNodes(context, device);
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
