// setupapi_device_list.h: a device information set of SetupAPI.
#pragma once

#include "driver/platform/setupapi_handles.h"
#include "driver/platform_objects.h"

#include <deque>
#include <vector>

namespace driver {

class SetupDeviceList final : public DeviceList
{
public:
    /// Takes the handle; fails with the last error for one that is invalid.
    static Opened<DeviceList> of(HDEVINFO handle);

    explicit SetupDeviceList(HDEVINFO handle) : m_set(handle) {}

    Outcome<ListDetail> detail() override;
    Outcome<DeviceIndex> at(std::uint32_t position) override;
    Outcome<DeviceIndex> open(const std::wstring& instanceId) override;
    Outcome<DeviceIndex> create(const std::wstring& className, const Guid& setupClass) override;
    Outcome<RegistryData> property(DeviceIndex device, DeviceProperty property) override;
    Status setProperty(DeviceIndex device, DeviceProperty property, const std::optional<RegistryData>& data) override;
    Outcome<std::wstring> id(DeviceIndex device, std::size_t capacity, MachineHandle machine) override;
    Outcome<NodeStatus> status(DeviceIndex device, MachineHandle machine) override;
    Opened<LogicalConfiguration> openConfiguration(DeviceIndex device, ConfigurationKind kind,
                                                   MachineHandle machine) override;
    Opened<DriverList> buildDriverList(DeviceIndex device, DriverListKind kind) override;
    Status setStateChange(DeviceIndex device, StateChange change, std::uint32_t scope) override;
    Status setRemoval(DeviceIndex device, std::uint32_t scope) override;
    Status callClassInstaller(InstallFunction function, DeviceIndex device) override;
    Outcome<std::uint32_t> installFlags(DeviceIndex device) override;
    Outcome<InterfaceIndex> interfaceAt(const Guid& interfaceClass, std::uint32_t position) override;
    Outcome<std::wstring> interfacePath(InterfaceIndex position, std::size_t bufferBytes) override;

private:
    DeviceIndex add(const SP_DEVINFO_DATA& device);
    SP_DEVINFO_DATA* data(DeviceIndex device) { return &m_devices.at(static_cast<std::size_t>(device)); }
    DEVINST node(DeviceIndex device) { return data(device)->DevInst; }

    DeviceInfoSet m_set;
    std::deque<SP_DEVINFO_DATA> m_devices; ///< in the order in which they were asked for; driver lists point into it
    std::vector<SP_DEVICE_INTERFACE_DATA> m_interfaces;
};

} // namespace driver
