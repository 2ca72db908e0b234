#include "driver/display/device_sections.h"
#include "driver/text.h"

#include <chrono>

namespace driver {

namespace {

std::wstring versionText(std::uint64_t version)
{
    std::wstring text;
    for (int shift = 48; shift >= 0; shift -= 16)
        text += (text.empty() ? L"" : L".") + std::to_wstring((version >> shift) & 0xFFFF);
    return text;
}

/// "2026-02-28" of 100 ns steps since 1601.
std::wstring dateText(std::uint64_t date)
{
    using namespace std::chrono;
    const sys_days day = sys_days(year(1601) / 1 / 1) + days(static_cast<int>(date / 864'000'000'000u));
    const year_month_day parts(day);
    const auto twoDigits = [](unsigned value) {
        return std::wstring(value < 10 ? L"0" : L"") + std::to_wstring(value);
    };
    return std::to_wstring(static_cast<int>(parts.year())) + L"-" + twoDigits(static_cast<unsigned>(parts.month())) +
           L"-" + twoDigits(static_cast<unsigned>(parts.day()));
}

void showNode(const Device& device, Printer& printer, DriverList& drivers, std::uint32_t position,
              const DriverInfo& info)
{
    const std::wstring further = std::wstring(kIndent) + std::wstring(kIndent);
    const auto line = [&](Message message, const std::wstring& value) {
        if (!value.empty())
            printer.message(message, {value}, further);
    };
    printer.message(Message::DriverNode, {std::to_wstring(position), info.description}, kIndent);
    const auto detail = drivers.detail(position);
    device.reportUnless(0, detail.error());
    if (detail) {
        line(Message::DriverNodeInf, detail->infPath);
        line(Message::DriverNodeSection, detail->section);
    }
    line(Message::DriverNodeProvider, info.provider);
    line(Message::DriverNodeManufacturer, info.manufacturer);
    line(Message::DriverNodeDate, info.date == 0 ? std::wstring() : dateText(info.date));
    line(Message::DriverNodeVersion, info.version == 0 ? std::wstring() : versionText(info.version));
}

} // namespace

void sections::driverFiles(const CommandContext& context, const Device& device)
{
    auto drivers = device.list.buildDriverList(device.index, DriverListKind::Installed);
    const auto info = drivers ? (*drivers)->at(0) : Failure{drivers.error()};
    const auto detail = info ? (*drivers)->detail(0) : Failure{info.error()};
    if (!detail) {
        device.reportUnless(errors::kNoMoreItems, detail.error());
        context.printer.message(Message::NoDriver, {}, kIndent);
        return;
    }
    const auto files = (*drivers)->files(0);
    device.reportUnless(errors::kNoMoreItems, files.error());
    const TextList inserts{detail->infPath, detail->section};
    if (!files || !namedList(context.printer, Message::DriverFiles, *files, inserts))
        context.printer.message(Message::DriverWithoutFiles, inserts, kIndent);
}

void sections::driverNodes(const CommandContext& context, const Device& device)
{
    auto drivers = device.list.buildDriverList(device.index, DriverListKind::Compatible);
    std::uint32_t position = 0;
    auto info = drivers ? (*drivers)->at(position) : Failure{drivers.error()};
    for (; info; info = (*drivers)->at(position))
        showNode(device, context.printer, **drivers, position++, *info);
    device.reportUnless(errors::kNoMoreItems, info.error());
    if (position == 0)
        context.printer.message(Message::NoDriverNodes, {}, kIndent);
}

} // namespace driver
