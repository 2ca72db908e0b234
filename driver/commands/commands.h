// commands.h: the routines of the command table.
#pragma once

#include "driver/command.h"

namespace driver {

namespace commands {

// Reading.
ResultCode classes(const CommandContext& context);
ResultCode listClass(const CommandContext& context);
ResultCode help(const CommandContext& context);
ResultCode find(const CommandContext& context);
ResultCode findAll(const CommandContext& context);
ResultCode status(const CommandContext& context);
ResultCode resources(const CommandContext& context);
ResultCode driverFiles(const CommandContext& context);
ResultCode driverNodes(const CommandContext& context);
ResultCode hardwareIds(const CommandContext& context);
ResultCode stack(const CommandContext& context);

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
