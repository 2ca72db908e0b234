// setupapi_store.h: INF files and the libraries that the engine loads by name.
#pragma once

#include "driver/platform_objects.h"

namespace driver {

Opened<InfHandle> openSetupInf(const std::wstring& name);
Opened<LoadedLibrary> loadSetupLibrary(const std::wstring& name);

} // namespace driver
