// commands.h: the routines of the command table.
#pragma once

#include "driver/command.h"
#include "driver/display/device_sections.h"
#include "driver/selection.h"

namespace driver {

namespace commands {

// Reading.
ResultCode classes(const CommandContext& context);
ResultCode listClass(const CommandContext& context);
ResultCode help(const CommandContext& context);

/// Prints the selected devices of an enumeration with `flags`, each with these sections.
ResultCode showSelected(const CommandContext& context, std::uint32_t sections, std::uint32_t flags);
template<std::uint32_t sections, std::uint32_t flags = kPresentDevices>
ResultCode showing(const CommandContext& context)
{
    return showSelected(context, sections, flags);
}
inline constexpr auto* find = showing<0>;
inline constexpr auto* findAll = showing<0, kAllDevices>;
inline constexpr auto* status = showing<show::kDescription | show::kStatus>;
inline constexpr auto* resources = showing<show::kDescription | show::kResources>;
inline constexpr auto* driverFiles = showing<show::kDescription | show::kDriverFiles>;
inline constexpr auto* driverNodes = showing<show::kDescription | show::kDriverNodes>;
inline constexpr auto* hardwareIds = showing<show::kDescription | show::kHardwareIds>;
inline constexpr auto* stack = showing<show::kDescription | show::kClass | show::kStack>;

// Changing devices.
ResultCode enable(const CommandContext& context);
ResultCode disable(const CommandContext& context);
ResultCode restart(const CommandContext& context);
ResultCode remove(const CommandContext& context);
ResultCode setHardwareIds(const CommandContext& context);
ResultCode rescan(const CommandContext& context);

// Drivers, packages, classes, the system.
ResultCode install(const CommandContext& context);
ResultCode update(const CommandContext& context);
ResultCode updateQuietly(const CommandContext& context);
ResultCode addPackage(const CommandContext& context);
ResultCode deletePackage(const CommandContext& context);
ResultCode listPackages(const CommandContext& context);
ResultCode classFilter(const CommandContext& context);
ResultCode reboot(const CommandContext& context);

// With JSON for an answer.
namespace json {
ResultCode find(const CommandContext& context);
ResultCode status(const CommandContext& context);
ResultCode hardwareIds(const CommandContext& context);
ResultCode driverFiles(const CommandContext& context);
ResultCode classes(const CommandContext& context);
ResultCode listClass(const CommandContext& context);
ResultCode listPackages(const CommandContext& context);
} // namespace json

} // namespace commands

} // namespace driver
