#include "driver/shutdown.h"

namespace driver {

namespace {

void enableShutdownPrivilege(DevicePlatform& platform)
{
    const auto token = platform.openProcessToken();
    if (!token)
        return;
    if (const auto privilege = platform.lookupPrivilege(L"SeShutdownPrivilege"))
        static_cast<void>(platform.enablePrivilege(**token, *privilege));
}

} // namespace

bool requestReboot(DevicePlatform& platform)
{
    enableShutdownPrivilege(platform);
    return static_cast<bool>(platform.requestShutdown({}));
}

} // namespace driver
