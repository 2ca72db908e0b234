// device_platform.h: the operations of the system that the driver engine uses, one thin virtual call each.
#pragma once

#include "driver/outcome.h"
#include "driver/platform_types.h"

#include <memory>
#include <optional>
#include <string>

namespace driver {

template<class Object>
using Opened = Outcome<std::unique_ptr<Object>>;

/// No call decides anything: order, retries, limits and what an error means are the engine's. An object that a call
/// gives back is closed by destroying it and must not outlive the platform. Not for use by two threads at once.
/// Operations that are the configuration manager's fail with its own results; they are marked CR.
class DevicePlatform
{
public:
    virtual ~DevicePlatform() = default;

    // Setup classes.

    /// Classes of that name, up to `capacity` of them.
    virtual GuidBatch classGuidsFromName(const std::wstring& name, std::uint32_t capacity,
                                         const MachineName& machine) = 0;
    virtual GuidBatch buildClassList(std::uint32_t capacity, const MachineName& machine) = 0;
    virtual Outcome<std::wstring> className(const Guid& guid, const MachineName& machine) = 0;
    virtual Outcome<std::wstring> classDescription(const Guid& guid, const MachineName& machine) = 0;
    /// The class's own key (not an interface's), with the registry access mask `access`.
    virtual Opened<RegistryKey> openClassKey(const Guid& guid, std::uint32_t access, const MachineName& machine) = 0;
    virtual Outcome<RegistryData> queryValue(RegistryKey& key, const std::wstring& name) = 0;
    virtual Status setValue(RegistryKey& key, const std::wstring& name, const RegistryData& data) = 0;
    virtual Status deleteValue(RegistryKey& key, const std::wstring& name) = 0;

    // Device lists.

    /// Devices of one class, or of all without one; `flags` are the enumeration flags beside that choice.
    virtual Opened<DeviceList> classDevices(const std::optional<Guid>& setupClass, std::uint32_t flags,
                                            const MachineName& machine) = 0;
    virtual Opened<DeviceList> emptyList(const std::optional<Guid>& setupClass, const MachineName& machine) = 0;
    virtual Outcome<DeviceIndex> openDevice(DeviceList& list, const std::wstring& instanceId) = 0;
    virtual Outcome<ListDetail> listDetail(DeviceList& list) = 0;
    /// Fails past the last device.
    virtual Outcome<DeviceIndex> deviceAt(DeviceList& list, std::uint32_t position) = 0;
    virtual Outcome<RegistryData> deviceProperty(DeviceList& list, DeviceIndex device, DeviceProperty property) = 0;
    /// No data deletes the property.
    virtual Status setDeviceProperty(DeviceList& list, DeviceIndex device, DeviceProperty property,
                                     const std::optional<RegistryData>& data) = 0;
    /// CR. An id that does not fit `capacity` characters with its NUL fails.
    virtual Outcome<std::wstring> deviceId(DeviceList& list, DeviceIndex device, std::size_t capacity,
                                           MachineHandle machine) = 0;
    /// CR.
    virtual Outcome<NodeStatus> deviceStatus(DeviceList& list, DeviceIndex device, MachineHandle machine) = 0;

    // Resources. CR.

    virtual Opened<LogicalConfiguration> openConfiguration(DeviceList& list, DeviceIndex device, ConfigurationKind kind,
                                                           MachineHandle machine) = 0;
    /// The next descriptor of it; fails after the last.
    virtual Outcome<Resource> nextResource(LogicalConfiguration& configuration) = 0;

    // Drivers of a device.

    virtual Opened<DriverList> buildDriverList(DeviceList& list, DeviceIndex device, DriverListKind kind) = 0;
    virtual Outcome<DriverInfo> driverAt(DriverList& drivers, std::uint32_t position) = 0;
    virtual Outcome<DriverDetail> driverDetail(DriverList& drivers, std::uint32_t position) = 0;
    /// Full paths of the files that this driver installs.
    virtual Outcome<TextList> driverFiles(DriverList& drivers, std::uint32_t position) = 0;

    // Device interfaces.

    virtual Opened<DeviceList> interfaceDevices(const Guid& interfaceClass, std::uint32_t flags) = 0;
    virtual Outcome<InterfaceIndex> interfaceAt(DeviceList& list, const Guid& interfaceClass,
                                                std::uint32_t position) = 0;
    /// The device path, read into a zeroed detail buffer of `bufferBytes`.
    virtual Outcome<std::wstring> interfacePath(DeviceList& list, InterfaceIndex position, std::size_t bufferBytes) = 0;

    // Installing and changing devices.

    /// A new element named `className`, with an instance id that the system makes.
    virtual Outcome<DeviceIndex> createDevice(DeviceList& list, const std::wstring& className,
                                              const Guid& setupClass) = 0;
    virtual Status setStateChange(DeviceList& list, DeviceIndex device, StateChange change, std::uint32_t scope) = 0;
    virtual Status setRemoval(DeviceList& list, DeviceIndex device, std::uint32_t scope) = 0;
    virtual Status callClassInstaller(InstallFunction function, DeviceList& list, DeviceIndex device) = 0;
    /// The flags of the device's install parameters.
    virtual Outcome<std::uint32_t> installFlags(DeviceList& list, DeviceIndex device) = 0;

    // INF files and the driver store.

    virtual Outcome<InfClass> infClass(const std::wstring& infPath, std::size_t nameCapacity) = 0;
    /// Stores the INF and its files from its own folder.
    virtual Outcome<StoredInf> copyOemInf(const std::wstring& infPath, std::size_t capacity) = 0;
    virtual Opened<InfHandle> openInf(const std::wstring& name) = 0;
    virtual Outcome<InfLine> findInfLine(InfHandle& inf, const std::wstring& section, const std::wstring& key) = 0;
    virtual Outcome<std::wstring> infField(InfHandle& inf, InfLine line, std::uint32_t field, std::size_t capacity) = 0;

    // Files.

    virtual FullPath fullPath(const std::wstring& path, std::size_t capacity) = 0;
    virtual bool fileExists(const std::wstring& path) = 0;
    /// Length as FullPath's: 0 on failure, the needed size when it does not fit.
    virtual FullPath windowsDirectory(std::size_t capacity) = 0;
    /// A search positioned on its first file; fails when no file matches.
    virtual Opened<FileSearch> findFiles(const std::wstring& pattern) = 0;
    virtual std::wstring foundFile(FileSearch& search) = 0;
    virtual Status findNextFile(FileSearch& search) = 0;

    // Libraries loaded by name, and what is called in them.

    virtual Opened<LoadedLibrary> loadLibrary(const std::wstring& name) = 0;
    virtual Outcome<Procedure> findProcedure(LoadedLibrary& library, const char* name) = 0;
    /// UpdateDriverForPlugAndPlayDevicesW: whether a restart is needed.
    virtual Outcome<bool> updateDriver(Procedure procedure, const std::wstring& hardwareId, const std::wstring& infPath,
                                       std::uint32_t flags) = 0;
    /// SetupSetNonInteractiveMode: the previous mode.
    virtual bool setNonInteractiveMode(Procedure procedure, bool on) = 0;
    /// SetupUninstallOEMInfW.
    virtual Status uninstallOemInf(Procedure procedure, const std::wstring& fileName, std::uint32_t flags) = 0;
    /// SetupVerifyInfFileW: the verdict and, where the system names one, the signer.
    struct Verification
    {
        ErrorCode error = 0;
        std::wstring signer;
    };
    virtual Verification verifyInfFile(Procedure procedure, const std::wstring& infName) = 0;

    // Machines and services.

    /// CR.
    virtual Opened<ConnectedMachine> connectMachine(const MachineName& machine) = 0;
    /// CR. The root device node, of this machine without one.
    virtual Outcome<DeviceNode> locateRoot(ConnectedMachine* machine) = 0;
    /// CR.
    virtual Status reenumerate(DeviceNode node, ConnectedMachine* machine) = 0;
    /// Both for reading only.
    virtual Opened<ServiceHandle> openServiceManager(const MachineName& machine) = 0;
    virtual Opened<ServiceHandle> openService(ServiceHandle& manager, const std::wstring& name) = 0;

    // The program's string table, and shutting down.

    virtual Outcome<std::wstring> loadText(std::uint32_t number, std::size_t capacity) = 0;
    virtual Opened<TokenHandle> openProcessToken() = 0;
    virtual Outcome<PrivilegeId> lookupPrivilege(const std::wstring& name) = 0;
    virtual Status enablePrivilege(TokenHandle& token, PrivilegeId privilege) = 0;
    virtual Status requestShutdown(const ShutdownRequest& request) = 0;
};

} // namespace driver
