// simulated_store.h: the simulated system's driver store, and the functions of the libraries that the engine loads.
#pragma once

#include "driver/platform/inf_package.h"
#include "driver/platform/simulated_system.h"
#include "driver/platform_objects.h"

#include <string>
#include <string_view>

namespace driver {

/// A driver package's INF, and what it says.
struct PackageFile
{
    std::string bytes;
    InfPackage package;
};
Outcome<PackageFile> readPackageFile(const std::wstring& path);

/// Where a path in the system's form is here: backslashes separate as slashes do.
std::filesystem::path localFile(const std::wstring& path);

/// Name of the stored package with these bytes; stores it under the first free name when there is none. They come from
/// `infPath`.
std::wstring storePackage(DeviceTree& tree, const std::string& bytes, const std::wstring& infPath);

/// The INF of that name in the store, else at that path.
Opened<InfHandle> openSimulatedInf(SimulatedSystem& system, const std::wstring& name);

/// "newdev.dll" or "setupapi.dll".
Opened<LoadedLibrary> loadSimulatedLibrary(SimulatedSystem& system, const std::wstring& name);

} // namespace driver
