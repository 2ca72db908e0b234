// device_sections.h: what the selecting commands show of a device below its id.
#pragma once

#include "driver/command.h"
#include "driver/device.h"

namespace driver {

/// Sections that a command shows; without any it prints the basic line.
namespace show {
inline constexpr std::uint32_t kDescription = 1;
inline constexpr std::uint32_t kStatus = 2;
inline constexpr std::uint32_t kResources = 4;
inline constexpr std::uint32_t kDriverFiles = 8;
inline constexpr std::uint32_t kHardwareIds = 16;
inline constexpr std::uint32_t kDriverNodes = 32;
inline constexpr std::uint32_t kClass = 64;
inline constexpr std::uint32_t kStack = 128;
} // namespace show

/// Prints the sections of `flags`, each indented by four spaces, always in the same order: description, class, status,
/// resources, driver files, stack, ids, driver nodes. A section that cannot be read says so or stays empty.
void showSections(const CommandContext& context, const Device& device, std::uint32_t flags);

namespace sections {
void description(const CommandContext& context, const Device& device);
void setupClass(const CommandContext& context, const Device& device);
void status(const CommandContext& context, const Device& device);
void resources(const CommandContext& context, const Device& device);
void driverFiles(const CommandContext& context, const Device& device);
void stack(const CommandContext& context, const Device& device);
void hardwareIds(const CommandContext& context, const Device& device);
void driverNodes(const CommandContext& context, const Device& device);

/// A heading and the entries one step further in; nothing for an empty list. Whether anything was printed.
bool namedList(Printer& printer, Message heading, const TextList& entries, const TextList& inserts = {});
} // namespace sections

} // namespace driver
