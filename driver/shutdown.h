// shutdown.h: restarting the system.
#pragma once

#include "driver/causes.h"

namespace driver {

/// Enables the shutdown privilege and asks for a restart: planned, without delay, message or forced closing. Asks too
/// when the privilege could not be enabled. Whether the system accepted; causes tell what failed.
bool requestReboot(Machine& machine, Causes& causes);

} // namespace driver
