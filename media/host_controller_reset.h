// host_controller_reset.h: resets the virtual USB host controller.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Present device interface paths of a class, given as a GUID in text form with braces; paths longer than
/// `detailLimit` bytes end the enumeration.
using InterfacePathFinder =
    std::function<std::vector<std::wstring>(const std::wstring& interfaceClass, std::size_t detailLimit)>;

/// The first path that belongs to a controller of a kind ("vehci", "vhci" or "vxhci"; empty: of any), whatever its
/// letter case.
std::optional<std::wstring> hostControllerPath(const std::vector<std::wstring>& paths, const std::wstring& kind);

/// Sends the reset request to the device at `path`; false when it cannot be opened or refuses. Always false where the
/// system has no such controller.
bool sendHostControllerReset(const std::wstring& path);
