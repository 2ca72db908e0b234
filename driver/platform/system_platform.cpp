#include "driver/platform/system_platform.h"

#include "driver/platform/simulated_platform.h"

namespace driver {

std::unique_ptr<DevicePlatform> simulatedPlatform(const std::filesystem::path& file)
{
    return std::make_unique<SimulatedPlatform>(file);
}

std::filesystem::path simulatedTreeFile(const std::filesystem::path& applicationDirectory)
{
    return applicationDirectory / "simulated_tree.json"; // not "device_...json": those are records
}

} // namespace driver
