#include "driver/display/device_sections.h"
#include "driver/text.h"

namespace driver {

namespace {

/// A memory line has at least 8 digits, a port line 4; lower case, as hexadecimal numbers are printed everywhere here.
std::wstring range(std::wstring_view name, const Resource& resource, std::size_t digits)
{
    return std::wstring(name) + hexadecimal(resource.start, digits, HexCase::Lower) + L"-" +
           hexadecimal(resource.end, digits, HexCase::Lower) + L"\n";
}

/// Empty for a kind that is not shown.
std::wstring lineOf(const Resource& resource)
{
    switch (resource.kind) {
    case Resource::Kind::Memory:
        return range(L"MEM : ", resource, 8);
    case Resource::Kind::Port:
        return range(L"IO  : ", resource, 4);
    case Resource::Kind::Dma:
        return L"DMA : " + std::to_wstring(static_cast<std::uint32_t>(resource.start)) + L"\n";
    case Resource::Kind::Interrupt:
        return L"IRQ : " + std::to_wstring(static_cast<std::uint32_t>(resource.start)) + L"\n";
    case Resource::Kind::Other:
        break;
    }
    return {};
}

Opened<LogicalConfiguration> openConfiguration(const Device& device, ConfigurationKind kind)
{
    auto open = device.list.openConfiguration(device.index, kind);
    device.reportUnless(configuration::kNoMoreLogicalConfigurations, open.error());
    return open;
}

} // namespace

void sections::resources(const CommandContext& context, const Device& device)
{
    auto open = openConfiguration(device, ConfigurationKind::Allocated);
    if (!open)
        open = openConfiguration(device, ConfigurationKind::Boot);
    bool any = false;
    while (open) {
        const auto resource = (*open)->next();
        if (!resource) {
            device.reportUnless(configuration::kNoMoreResources, resource.error());
            break;
        }
        const std::wstring line = lineOf(*resource);
        if (!line.empty())
            context.printer.text(std::wstring(kIndent) + line);
        any = any || !line.empty();
    }
    if (!any)
        context.printer.message(Message::NoResources, {}, kIndent);
}

} // namespace driver
