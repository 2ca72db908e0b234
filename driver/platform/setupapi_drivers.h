// setupapi_drivers.h: a device's driver list in SetupAPI.
#pragma once

#include "driver/platform/setupapi_handles.h"
#include "driver/platform_objects.h"

namespace driver {

/// `device` must stay where it is while the list lives.
Opened<DriverList> buildSetupDriverList(HDEVINFO set, SP_DEVINFO_DATA* device, DriverListKind kind);

} // namespace driver
