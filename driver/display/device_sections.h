// device_sections.h: what the selecting commands show of a device below its id.
#pragma once

#include "driver/device.h"
#include "driver/messages/printer.h"

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
void showSections(const Device& device, Printer& printer, std::uint32_t flags, const MachineName& machine);

namespace sections {
void description(const Device& device, Printer& printer);
void setupClass(const Device& device, Printer& printer);
void status(const Device& device, Printer& printer);
void resources(const Device& device, Printer& printer);
void driverFiles(const Device& device, Printer& printer);
void stack(const Device& device, Printer& printer, const MachineName& machine);
void hardwareIds(const Device& device, Printer& printer);
void driverNodes(const Device& device, Printer& printer);

/// A heading and the entries one step further in; nothing for an empty list. Whether anything was printed.
bool namedList(Printer& printer, Message heading, const TextList& entries);
} // namespace sections

} // namespace driver
