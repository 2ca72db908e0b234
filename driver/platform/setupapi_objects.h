// setupapi_objects.h: what opens the objects of SetupAPI and the configuration manager.
#pragma once

#include "driver/platform/setupapi_handles.h"
#include "driver/platform_objects.h"

namespace driver {

/// Takes the handle of a device information set; fails with the last error for an invalid one.
Opened<DeviceList> setupDeviceList(HDEVINFO handle);

/// `device` must stay where it is while the list lives.
Opened<DriverList> buildSetupDriverList(HDEVINFO set, SP_DEVINFO_DATA* device, DriverListKind kind);

Opened<LogicalConfiguration> openSetupConfiguration(DEVINST node, ConfigurationKind kind, HMACHINE machine);
Opened<InfHandle> openSetupInf(const std::wstring& name);
Opened<LoadedLibrary> loadSetupLibrary(const std::wstring& name);

} // namespace driver
