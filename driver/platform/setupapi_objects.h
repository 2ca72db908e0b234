// setupapi_objects.h: what stands behind the objects of the Windows back end, and its small conversions.
#pragma once

#include "driver/device_platform.h"
#include "driver/platform/setupapi_handles.h"

#include <cstring>
#include <map>

namespace driver {

/// Devices by their DeviceIndex: those that were enumerated have their position, opened and created ones follow
/// kAdded.
struct SetupDeviceList final : DeviceList
{
    static constexpr std::uint32_t kAdded = 0x80000000;

    explicit SetupDeviceList(HDEVINFO handle) : set(handle) {}

    DeviceInfoSet set;
    std::map<std::uint32_t, SP_DEVINFO_DATA> devices;
    std::uint32_t added = 0;
    std::vector<SP_DEVICE_INTERFACE_DATA> interfaces;

    DeviceIndex add(const SP_DEVINFO_DATA& device)
    {
        devices[kAdded + added] = device;
        return static_cast<DeviceIndex>(kAdded + added++);
    }
};

template<class Base, class Owner>
struct SetupObject final : Base
{
    explicit SetupObject(Owner owned) : owner(std::move(owned)) {}
    Owner owner;
};

using SetupKey = SetupObject<RegistryKey, OpenKey>;
using SetupMachine = SetupObject<ConnectedMachine, MachineConnection>;
using SetupService = SetupObject<ServiceHandle, OpenedService>;
using SetupToken = SetupObject<TokenHandle, KernelHandle>;
using SetupLibrary = SetupObject<LoadedLibrary, Library>;

inline ErrorCode lastError()
{
    return GetLastError();
}

inline Status statusOf(BOOL success)
{
    return success ? Status() : Status::failed(lastError());
}

inline const wchar_t* nameOrNull(const std::wstring& name)
{
    return name.empty() ? nullptr : name.c_str();
}

inline GUID systemGuid(const Guid& guid)
{
    GUID result{guid.data1, guid.data2, guid.data3, {}};
    std::memcpy(result.Data4, guid.data4.data(), guid.data4.size());
    return result;
}

inline Guid guidOf(const GUID& guid)
{
    Guid result{static_cast<std::uint32_t>(guid.Data1), guid.Data2, guid.Data3, {}};
    std::memcpy(result.data4.data(), guid.Data4, result.data4.size());
    return result;
}

inline HDEVINFO setOf(DeviceList& list)
{
    return static_cast<SetupDeviceList&>(list).set.get();
}

/// Null for an index that the list never gave out.
inline SP_DEVINFO_DATA* dataOf(DeviceList& list, DeviceIndex device)
{
    auto& devices = static_cast<SetupDeviceList&>(list).devices;
    const auto found = devices.find(static_cast<std::uint32_t>(device));
    return found == devices.end() ? nullptr : &found->second;
}

inline DEVINST nodeOf(DeviceList& list, DeviceIndex device)
{
    const SP_DEVINFO_DATA* const data = dataOf(list, device);
    return data == nullptr ? 0 : data->DevInst;
}

inline HMACHINE machineOf(MachineHandle machine)
{
    return reinterpret_cast<HMACHINE>(machine);
}

} // namespace driver
