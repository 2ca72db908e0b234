#include "driver/device_interfaces.h"

#include "driver/selection.h"

namespace driver {

std::vector<std::wstring> devicePaths(DevicePlatform& platform, const Guid& interfaceClass)
{
    std::vector<std::wstring> paths;
    const auto session = platform.begin(Access::Read);
    if (!session)
        return paths;
    auto list = platform.interfaceDevices(interfaceClass, kPresentDevices | kDeviceInterfaces);
    if (!list)
        return paths;
    for (std::uint32_t position = 0;; ++position) {
        const auto index = (*list)->interfaceAt(interfaceClass, position);
        if (!index)
            return paths;
        auto path = (*list)->interfacePath(*index, limits::kInterfaceDetail);
        if (!path)
            return paths;
        paths.push_back(std::move(*path));
    }
}

} // namespace driver
