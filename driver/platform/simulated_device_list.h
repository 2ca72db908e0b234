// simulated_device_list.h: a list of the simulated system's devices, and what can be read and changed of them.
#pragma once

#include "driver/platform/simulated_system.h"
#include "driver/platform_objects.h"

#include <memory>
#include <variant>

namespace driver {

class SimulatedDeviceList final : public Simulated<DeviceList>
{
public:
    /// Empty, for devices of one class or, with a zero one, of any.
    SimulatedDeviceList(SimulatedSystem& system, const Guid& setupClass) : Simulated(system), m_class(setupClass) {}

    void list(const SimulatedDevice& device) { m_devices.push_back({device.key, {}, {}, 0}); }
    void list(const SimulatedInterface& each) { m_interfaces.push_back(each); }

    Status readDetail() override;
    Outcome<DeviceIndex> at(std::uint32_t position) override;
    Outcome<DeviceIndex> open(const std::wstring& instanceId) override;
    Outcome<DeviceIndex> create(const std::wstring& className, const Guid& setupClass) override;
    Outcome<RegistryData> property(DeviceIndex device, DeviceProperty property) override;
    Status setProperty(DeviceIndex device, DeviceProperty property, const std::optional<RegistryData>& data) override;
    Outcome<std::wstring> id(DeviceIndex device, std::size_t capacity) override;
    Outcome<NodeStatus> status(DeviceIndex device) override;
    Opened<LogicalConfiguration> openConfiguration(DeviceIndex device, ConfigurationKind kind) override;
    Opened<DriverList> buildDriverList(DeviceIndex device, DriverListKind kind) override;
    Status setStateChange(DeviceIndex device, StateChange change, std::uint32_t scope) override;
    Status setRemoval(DeviceIndex device, std::uint32_t scope) override;
    Status callClassInstaller(InstallFunction function, DeviceIndex device) override;
    Outcome<std::uint32_t> installFlags(DeviceIndex device) override;
    Outcome<InterfaceIndex> interfaceAt(const Guid& interfaceClass, std::uint32_t position) override;
    Outcome<std::wstring> interfacePath(InterfaceIndex position, std::size_t bufferBytes) override;

private:
    /// What a device's next class-installer call is to do.
    using PendingChange = std::variant<std::monostate, StateChange, InstallFunction>;

    /// Registered devices are named by their key, a created one is only here.
    struct Listed
    {
        std::uint64_t key = 0;
        std::unique_ptr<SimulatedDevice> created;
        PendingChange pending;
        std::uint32_t installFlags = 0;
    };

    /// Null for an index that the list does not have.
    Listed* listed(DeviceIndex index);

    /// Null too when the device is no longer in the tree.
    const SimulatedDevice* device(DeviceIndex index);

    Status setPending(DeviceIndex index, PendingChange change);
    Status registerDevice(Listed& device);

    Guid m_class;
    std::vector<Listed> m_devices;
    std::vector<SimulatedInterface> m_interfaces;
};

} // namespace driver
