// failing_platform.h: passes every call on to another platform, but makes the Nth one fail.
#pragma once

#include "driver/device_platform.h"

#include <new>
#include <string>

namespace driver {

/// Counts the calls that can fail; the one with the number `failing` (from 1, 0 for none) fails without reaching the
/// other platform.
class FailingPlatform : public DevicePlatform
{
public:
    static constexpr ErrorCode kInjected = 0xE0005555;

    /// How the call fails: with an error of its own, or for want of memory.
    enum class Kind
    {
        Error,
        NoMemory
    };

    FailingPlatform(DevicePlatform& inner, int failing, Kind kind = Kind::Error)
        : m_inner(inner)
        , m_failing(failing)
        , m_kind(kind)
    {}

    /// Name of the call that failed; empty while none has.
    const std::string& failedCall() const { return m_failedCall; }

    GuidBatch classGuidsFromName(const std::wstring& name, std::uint32_t capacity, const MachineName& machine) override
    {
        return fails("classGuidsFromName") ? GuidBatch{{}, 0, kInjected}
                                           : m_inner.classGuidsFromName(name, capacity, machine);
    }

    GuidBatch buildClassList(std::uint32_t capacity, const MachineName& machine) override
    {
        return fails("buildClassList") ? GuidBatch{{}, 0, kInjected} : m_inner.buildClassList(capacity, machine);
    }

    Outcome<std::wstring> className(const Guid& guid, const MachineName& machine) override
    {
        return fails("className") ? Outcome<std::wstring>::failed(kInjected) : m_inner.className(guid, machine);
    }

    Outcome<std::wstring> classDescription(const Guid& guid, const MachineName& machine) override
    {
        return fails("classDescription") ? Outcome<std::wstring>::failed(kInjected)
                                         : m_inner.classDescription(guid, machine);
    }

    Opened<RegistryKey> openClassKey(const Guid& guid, std::uint32_t access, const MachineName& machine) override
    {
        return fails("openClassKey") ? Opened<RegistryKey>::failed(kInjected)
                                     : m_inner.openClassKey(guid, access, machine);
    }

    Outcome<RegistryData> queryValue(RegistryKey& key, const std::wstring& name) override
    {
        return fails("queryValue") ? Outcome<RegistryData>::failed(kInjected) : m_inner.queryValue(key, name);
    }

    Status setValue(RegistryKey& key, const std::wstring& name, const RegistryData& data) override
    {
        return fails("setValue") ? Status::failed(kInjected) : m_inner.setValue(key, name, data);
    }

    Status deleteValue(RegistryKey& key, const std::wstring& name) override
    {
        return fails("deleteValue") ? Status::failed(kInjected) : m_inner.deleteValue(key, name);
    }

    Opened<DeviceList> classDevices(const std::optional<Guid>& setupClass, std::uint32_t flags,
                                    const MachineName& machine) override
    {
        return fails("classDevices") ? Opened<DeviceList>::failed(kInjected)
                                     : m_inner.classDevices(setupClass, flags, machine);
    }

    Opened<DeviceList> emptyList(const std::optional<Guid>& setupClass, const MachineName& machine) override
    {
        return fails("emptyList") ? Opened<DeviceList>::failed(kInjected) : m_inner.emptyList(setupClass, machine);
    }

    Outcome<DeviceIndex> openDevice(DeviceList& list, const std::wstring& instanceId) override
    {
        return fails("openDevice") ? Outcome<DeviceIndex>::failed(kInjected) : m_inner.openDevice(list, instanceId);
    }

    Outcome<ListDetail> listDetail(DeviceList& list) override
    {
        return fails("listDetail") ? Outcome<ListDetail>::failed(kInjected) : m_inner.listDetail(list);
    }

    Outcome<DeviceIndex> deviceAt(DeviceList& list, std::uint32_t position) override
    {
        return fails("deviceAt") ? Outcome<DeviceIndex>::failed(kInjected) : m_inner.deviceAt(list, position);
    }

    Outcome<RegistryData> deviceProperty(DeviceList& list, DeviceIndex device, DeviceProperty property) override
    {
        return fails("deviceProperty") ? Outcome<RegistryData>::failed(kInjected)
                                       : m_inner.deviceProperty(list, device, property);
    }

    Status setDeviceProperty(DeviceList& list, DeviceIndex device, DeviceProperty property,
                             const std::optional<RegistryData>& data) override
    {
        return fails("setDeviceProperty") ? Status::failed(kInjected)
                                          : m_inner.setDeviceProperty(list, device, property, data);
    }

    Outcome<std::wstring> deviceId(DeviceList& list, DeviceIndex device, std::size_t capacity,
                                   MachineHandle machine) override
    {
        return fails("deviceId") ? Outcome<std::wstring>::failed(kInjected)
                                 : m_inner.deviceId(list, device, capacity, machine);
    }

    Outcome<NodeStatus> deviceStatus(DeviceList& list, DeviceIndex device, MachineHandle machine) override
    {
        return fails("deviceStatus") ? Outcome<NodeStatus>::failed(kInjected)
                                     : m_inner.deviceStatus(list, device, machine);
    }

    Opened<LogicalConfiguration> openConfiguration(DeviceList& list, DeviceIndex device, ConfigurationKind kind,
                                                   MachineHandle machine) override
    {
        return fails("openConfiguration") ? Opened<LogicalConfiguration>::failed(kInjected)
                                          : m_inner.openConfiguration(list, device, kind, machine);
    }

    Outcome<Resource> nextResource(LogicalConfiguration& configuration) override
    {
        return fails("nextResource") ? Outcome<Resource>::failed(kInjected) : m_inner.nextResource(configuration);
    }

    Opened<DriverList> buildDriverList(DeviceList& list, DeviceIndex device, DriverListKind kind) override
    {
        return fails("buildDriverList") ? Opened<DriverList>::failed(kInjected)
                                        : m_inner.buildDriverList(list, device, kind);
    }

    Outcome<DriverInfo> driverAt(DriverList& drivers, std::uint32_t position) override
    {
        return fails("driverAt") ? Outcome<DriverInfo>::failed(kInjected) : m_inner.driverAt(drivers, position);
    }

    Outcome<DriverDetail> driverDetail(DriverList& drivers, std::uint32_t position) override
    {
        return fails("driverDetail") ? Outcome<DriverDetail>::failed(kInjected)
                                     : m_inner.driverDetail(drivers, position);
    }

    Outcome<TextList> driverFiles(DriverList& drivers, std::uint32_t position) override
    {
        return fails("driverFiles") ? Outcome<TextList>::failed(kInjected) : m_inner.driverFiles(drivers, position);
    }

    Opened<DeviceList> interfaceDevices(const Guid& interfaceClass, std::uint32_t flags) override
    {
        return fails("interfaceDevices") ? Opened<DeviceList>::failed(kInjected)
                                         : m_inner.interfaceDevices(interfaceClass, flags);
    }

    Outcome<InterfaceIndex> interfaceAt(DeviceList& list, const Guid& interfaceClass, std::uint32_t position) override
    {
        return fails("interfaceAt") ? Outcome<InterfaceIndex>::failed(kInjected)
                                    : m_inner.interfaceAt(list, interfaceClass, position);
    }

    Outcome<std::wstring> interfacePath(DeviceList& list, InterfaceIndex position, std::size_t bufferBytes) override
    {
        return fails("interfacePath") ? Outcome<std::wstring>::failed(kInjected)
                                      : m_inner.interfacePath(list, position, bufferBytes);
    }

    Outcome<DeviceIndex> createDevice(DeviceList& list, const std::wstring& className, const Guid& setupClass) override
    {
        return fails("createDevice") ? Outcome<DeviceIndex>::failed(kInjected)
                                     : m_inner.createDevice(list, className, setupClass);
    }

    Status setStateChange(DeviceList& list, DeviceIndex device, StateChange change, std::uint32_t scope) override
    {
        return fails("setStateChange") ? Status::failed(kInjected)
                                       : m_inner.setStateChange(list, device, change, scope);
    }

    Status setRemoval(DeviceList& list, DeviceIndex device, std::uint32_t scope) override
    {
        return fails("setRemoval") ? Status::failed(kInjected) : m_inner.setRemoval(list, device, scope);
    }

    Status callClassInstaller(InstallFunction function, DeviceList& list, DeviceIndex device) override
    {
        return fails("callClassInstaller") ? Status::failed(kInjected)
                                           : m_inner.callClassInstaller(function, list, device);
    }

    Outcome<std::uint32_t> installFlags(DeviceList& list, DeviceIndex device) override
    {
        return fails("installFlags") ? Outcome<std::uint32_t>::failed(kInjected) : m_inner.installFlags(list, device);
    }

    Outcome<InfClass> infClass(const std::wstring& infPath, std::size_t nameCapacity) override
    {
        return fails("infClass") ? Outcome<InfClass>::failed(kInjected) : m_inner.infClass(infPath, nameCapacity);
    }

    Outcome<StoredInf> copyOemInf(const std::wstring& infPath, std::size_t capacity) override
    {
        return fails("copyOemInf") ? Outcome<StoredInf>::failed(kInjected) : m_inner.copyOemInf(infPath, capacity);
    }

    Opened<InfHandle> openInf(const std::wstring& name) override
    {
        return fails("openInf") ? Opened<InfHandle>::failed(kInjected) : m_inner.openInf(name);
    }

    Outcome<InfLine> findInfLine(InfHandle& inf, const std::wstring& section, const std::wstring& key) override
    {
        return fails("findInfLine") ? Outcome<InfLine>::failed(kInjected) : m_inner.findInfLine(inf, section, key);
    }

    Outcome<std::wstring> infField(InfHandle& inf, InfLine line, std::uint32_t field, std::size_t capacity) override
    {
        return fails("infField") ? Outcome<std::wstring>::failed(kInjected)
                                 : m_inner.infField(inf, line, field, capacity);
    }

    FullPath fullPath(const std::wstring& path, std::size_t capacity) override
    {
        return fails("fullPath") ? FullPath() : m_inner.fullPath(path, capacity);
    }

    bool fileExists(const std::wstring& path) override
    {
        return fails("fileExists") ? false : m_inner.fileExists(path);
    }

    FullPath windowsDirectory(std::size_t capacity) override
    {
        return fails("windowsDirectory") ? FullPath() : m_inner.windowsDirectory(capacity);
    }

    Opened<FileSearch> findFiles(const std::wstring& pattern) override
    {
        return fails("findFiles") ? Opened<FileSearch>::failed(kInjected) : m_inner.findFiles(pattern);
    }

    std::wstring foundFile(FileSearch& search) override { return m_inner.foundFile(search); }

    Status findNextFile(FileSearch& search) override
    {
        return fails("findNextFile") ? Status::failed(kInjected) : m_inner.findNextFile(search);
    }

    Opened<LoadedLibrary> loadLibrary(const std::wstring& name) override
    {
        return fails("loadLibrary") ? Opened<LoadedLibrary>::failed(kInjected) : m_inner.loadLibrary(name);
    }

    Outcome<Procedure> findProcedure(LoadedLibrary& library, const char* name) override
    {
        return fails("findProcedure") ? Outcome<Procedure>::failed(kInjected) : m_inner.findProcedure(library, name);
    }

    Outcome<bool> updateDriver(Procedure procedure, const std::wstring& hardwareId, const std::wstring& infPath,
                               std::uint32_t flags) override
    {
        return fails("updateDriver") ? Outcome<bool>::failed(kInjected)
                                     : m_inner.updateDriver(procedure, hardwareId, infPath, flags);
    }

    bool setNonInteractiveMode(Procedure procedure, bool on) override
    {
        return m_inner.setNonInteractiveMode(procedure, on);
    }

    Status uninstallOemInf(Procedure procedure, const std::wstring& fileName, std::uint32_t flags) override
    {
        return fails("uninstallOemInf") ? Status::failed(kInjected)
                                        : m_inner.uninstallOemInf(procedure, fileName, flags);
    }

    Verification verifyInfFile(Procedure procedure, const std::wstring& infName) override
    {
        return fails("verifyInfFile") ? Verification{kInjected, {}} : m_inner.verifyInfFile(procedure, infName);
    }

    Opened<ConnectedMachine> connectMachine(const MachineName& machine) override
    {
        return fails("connectMachine") ? Opened<ConnectedMachine>::failed(kInjected) : m_inner.connectMachine(machine);
    }

    Outcome<DeviceNode> locateRoot(ConnectedMachine* machine) override
    {
        return fails("locateRoot") ? Outcome<DeviceNode>::failed(kInjected) : m_inner.locateRoot(machine);
    }

    Status reenumerate(DeviceNode node, ConnectedMachine* machine) override
    {
        return fails("reenumerate") ? Status::failed(kInjected) : m_inner.reenumerate(node, machine);
    }

    Opened<ServiceHandle> openServiceManager(const MachineName& machine) override
    {
        return fails("openServiceManager") ? Opened<ServiceHandle>::failed(kInjected)
                                           : m_inner.openServiceManager(machine);
    }

    Opened<ServiceHandle> openService(ServiceHandle& manager, const std::wstring& name) override
    {
        return fails("openService") ? Opened<ServiceHandle>::failed(kInjected) : m_inner.openService(manager, name);
    }

    Outcome<std::wstring> loadText(std::uint32_t number, std::size_t capacity) override
    {
        return fails("loadText") ? Outcome<std::wstring>::failed(kInjected) : m_inner.loadText(number, capacity);
    }

    Opened<TokenHandle> openProcessToken() override
    {
        return fails("openProcessToken") ? Opened<TokenHandle>::failed(kInjected) : m_inner.openProcessToken();
    }

    Outcome<PrivilegeId> lookupPrivilege(const std::wstring& name) override
    {
        return fails("lookupPrivilege") ? Outcome<PrivilegeId>::failed(kInjected) : m_inner.lookupPrivilege(name);
    }

    Status enablePrivilege(TokenHandle& token, PrivilegeId privilege) override
    {
        return fails("enablePrivilege") ? Status::failed(kInjected) : m_inner.enablePrivilege(token, privilege);
    }

    Status requestShutdown(const ShutdownRequest& request) override
    {
        return fails("requestShutdown") ? Status::failed(kInjected) : m_inner.requestShutdown(request);
    }

private:
    bool fails(const char* call)
    {
        if (++m_calls != m_failing)
            return false;
        m_failedCall = call;
        if (m_kind == Kind::NoMemory)
            throw std::bad_alloc();
        return true;
    }

    DevicePlatform& m_inner;
    const int m_failing;
    const Kind m_kind;
    int m_calls = 0;
    std::string m_failedCall;
};

} // namespace driver
