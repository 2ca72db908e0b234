// setupapi_resources.h: a device's logical configuration in the configuration manager.
#pragma once

#include "driver/platform/setupapi_handles.h"
#include "driver/platform_objects.h"

namespace driver {

Opened<LogicalConfiguration> openSetupConfiguration(DEVINST node, ConfigurationKind kind, HMACHINE machine);

} // namespace driver
