// system_platform.h: which system the engine works on.
#pragma once

#include "driver/device_platform.h"

#include <filesystem>
#include <memory>

namespace driver {

/// The system's own device installation on Windows; elsewhere the simulated tree of `applicationDirectory`.
std::unique_ptr<DevicePlatform> systemPlatform(const std::filesystem::path& applicationDirectory);

/// The simulated tree of a file that need not exist yet, on every system.
std::unique_ptr<DevicePlatform> simulatedPlatform(const std::filesystem::path& file);

/// Where an application keeps its simulated tree.
std::filesystem::path simulatedTreeFile(const std::filesystem::path& applicationDirectory);

} // namespace driver
