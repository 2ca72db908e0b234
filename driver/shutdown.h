// shutdown.h: restarting the system.
#pragma once

#include "driver/device_platform.h"

namespace driver {

/// Enables the shutdown privilege and asks for a restart: planned, without delay, message or forced closing. Asks too
/// when the privilege could not be enabled. Whether the system accepted.
bool requestReboot(DevicePlatform& platform);

} // namespace driver
