#include "driver/platform/system_platform.h"

#include "driver/platform/setupapi_platform.h"

namespace driver {

std::unique_ptr<DevicePlatform> systemPlatform(const std::filesystem::path&)
{
    return std::make_unique<SetupApiPlatform>();
}

} // namespace driver
