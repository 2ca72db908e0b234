// simulated_platform.h: a system that exists in one JSON file only: classes, devices, driver store, services.
#pragma once

#include "driver/device_platform.h"
#include "driver/platform/device_tree.h"

#include <filesystem>
#include <functional>

namespace driver {

/// Works as the system does as far as the engine can tell; its Windows folder is "C:\Windows" by name. A driver package
/// installs what its INF says: models, service, copied files, device interfaces, the need of a restart. Every change is
/// in the file before the call returns, or fails and changes nothing.
class SimulatedPlatform final : public DevicePlatform
{
public:
    /// The tree in `file`; a fresh one when there is no such file. A file that is no tree is kept as it is: the system
    /// then looks empty and refuses every change.
    explicit SimulatedPlatform(std::filesystem::path file);

    /// A tree that is nowhere but in memory.
    explicit SimulatedPlatform(DeviceTree tree);

    const DeviceTree& tree() const { return m_tree; }

    /// Objects that were given out and are not closed yet.
    int openObjects() const { return m_openObjects; }

    /// Restarts of the system that were asked for.
    int restarts() const { return m_restarts; }

    GuidBatch classGuidsFromName(const std::wstring& name, std::uint32_t capacity, const MachineName& machine) override;
    GuidBatch buildClassList(std::uint32_t capacity, const MachineName& machine) override;
    Outcome<std::wstring> className(const Guid& guid, const MachineName& machine) override;
    Outcome<std::wstring> classDescription(const Guid& guid, const MachineName& machine) override;
    Opened<RegistryKey> openClassKey(const Guid& guid, std::uint32_t access, const MachineName& machine) override;
    Outcome<RegistryData> queryValue(RegistryKey& key, const std::wstring& name) override;
    Status setValue(RegistryKey& key, const std::wstring& name, const RegistryData& data) override;
    Status deleteValue(RegistryKey& key, const std::wstring& name) override;

    Opened<DeviceList> classDevices(const std::optional<Guid>& setupClass, std::uint32_t flags,
                                    const MachineName& machine) override;
    Opened<DeviceList> emptyList(const std::optional<Guid>& setupClass, const MachineName& machine) override;
    Outcome<DeviceIndex> openDevice(DeviceList& list, const std::wstring& instanceId) override;
    Outcome<ListDetail> listDetail(DeviceList& list) override;
    Outcome<DeviceIndex> deviceAt(DeviceList& list, std::uint32_t position) override;
    Outcome<RegistryData> deviceProperty(DeviceList& list, DeviceIndex device, DeviceProperty property) override;
    Status setDeviceProperty(DeviceList& list, DeviceIndex device, DeviceProperty property,
                             const std::optional<RegistryData>& data) override;
    Outcome<std::wstring> deviceId(DeviceList& list, DeviceIndex device, std::size_t capacity,
                                   MachineHandle machine) override;
    Outcome<NodeStatus> deviceStatus(DeviceList& list, DeviceIndex device, MachineHandle machine) override;

    Opened<LogicalConfiguration> openConfiguration(DeviceList& list, DeviceIndex device, ConfigurationKind kind,
                                                   MachineHandle machine) override;
    Outcome<Resource> nextResource(LogicalConfiguration& configuration) override;

    Opened<DriverList> buildDriverList(DeviceList& list, DeviceIndex device, DriverListKind kind) override;
    Outcome<DriverInfo> driverAt(DriverList& drivers, std::uint32_t position) override;
    Outcome<DriverDetail> driverDetail(DriverList& drivers, std::uint32_t position) override;
    Outcome<TextList> driverFiles(DriverList& drivers, std::uint32_t position) override;

    Opened<DeviceList> interfaceDevices(const Guid& interfaceClass, std::uint32_t flags) override;
    Outcome<InterfaceIndex> interfaceAt(DeviceList& list, const Guid& interfaceClass, std::uint32_t position) override;
    Outcome<std::wstring> interfacePath(DeviceList& list, InterfaceIndex position, std::size_t bufferBytes) override;

    Outcome<DeviceIndex> createDevice(DeviceList& list, const std::wstring& className, const Guid& setupClass) override;
    Status setStateChange(DeviceList& list, DeviceIndex device, StateChange change, std::uint32_t scope) override;
    Status setRemoval(DeviceList& list, DeviceIndex device, std::uint32_t scope) override;
    Status callClassInstaller(InstallFunction function, DeviceList& list, DeviceIndex device) override;
    Outcome<std::uint32_t> installFlags(DeviceList& list, DeviceIndex device) override;

    Outcome<InfClass> infClass(const std::wstring& infPath, std::size_t nameCapacity) override;
    Outcome<StoredInf> copyOemInf(const std::wstring& infPath, std::size_t capacity) override;
    Opened<InfHandle> openInf(const std::wstring& name) override;
    Outcome<InfLine> findInfLine(InfHandle& inf, const std::wstring& section, const std::wstring& key) override;
    Outcome<std::wstring> infField(InfHandle& inf, InfLine line, std::uint32_t field, std::size_t capacity) override;

    FullPath fullPath(const std::wstring& path, std::size_t capacity) override;
    bool fileExists(const std::wstring& path) override;
    FullPath windowsDirectory(std::size_t capacity) override;
    Opened<FileSearch> findFiles(const std::wstring& pattern) override;
    std::wstring foundFile(FileSearch& search) override;
    Status findNextFile(FileSearch& search) override;

    Opened<LoadedLibrary> loadLibrary(const std::wstring& name) override;
    Outcome<Procedure> findProcedure(LoadedLibrary& library, const char* name) override;
    Outcome<bool> updateDriver(Procedure procedure, const std::wstring& hardwareId, const std::wstring& infPath,
                               std::uint32_t flags) override;
    bool setNonInteractiveMode(Procedure procedure, bool on) override;
    Status uninstallOemInf(Procedure procedure, const std::wstring& fileName, std::uint32_t flags) override;
    Verification verifyInfFile(Procedure procedure, const std::wstring& infName) override;

    Opened<ConnectedMachine> connectMachine(const MachineName& machine) override;
    Outcome<DeviceNode> locateRoot(ConnectedMachine* machine) override;
    Status reenumerate(DeviceNode node, ConnectedMachine* machine) override;
    Opened<ServiceHandle> openServiceManager(const MachineName& machine) override;
    Opened<ServiceHandle> openService(ServiceHandle& manager, const std::wstring& name) override;

    Outcome<std::wstring> loadText(std::uint32_t number, std::size_t capacity) override;
    Opened<TokenHandle> openProcessToken() override;
    Outcome<PrivilegeId> lookupPrivilege(const std::wstring& name) override;
    Status enablePrivilege(TokenHandle& token, PrivilegeId privilege) override;
    Status requestShutdown(const ShutdownRequest& request) override;

private:
    /// Edits a copy, writes it, and only then makes it the tree. An edit that fails changes nothing.
    Status change(const std::function<Status(DeviceTree&)>& edit);
    bool reachable(const MachineName& machine) const;

    std::filesystem::path m_file; ///< empty for a tree in memory
    bool m_broken = false;        ///< the file holds no tree
    DeviceTree m_tree;
    int m_openObjects = 0;
    int m_restarts = 0;
    bool m_nonInteractive = false;
};

} // namespace driver
