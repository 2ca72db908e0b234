#include "driver/platform/system_platform.h"

namespace driver {

std::unique_ptr<DevicePlatform> systemPlatform(const std::filesystem::path& applicationDirectory)
{
    return simulatedPlatform(simulatedTreeFile(applicationDirectory));
}

} // namespace driver
