// platform_objects.h: what the system opens, and the operations on it, one call of the system each.
#pragma once

#include "driver/platform_types.h"

#include <memory>
#include <optional>
#include <string>

namespace driver {

/// Destroying it closes it. It must not outlive the platform that gave it out, nor an object the one that it came from.
class PlatformObject
{
public:
    PlatformObject() = default;
    PlatformObject(const PlatformObject&) = delete;
    PlatformObject& operator=(const PlatformObject&) = delete;
    virtual ~PlatformObject() = default;
};

/// One command's work on the system. Without commit(), what it changed may be lost.
class CommandSession : public PlatformObject
{
public:
    virtual Status commit() = 0;
};

class RegistryKey : public PlatformObject
{
public:
    virtual Outcome<RegistryData> value(const std::wstring& name) = 0;
    virtual Status setValue(const std::wstring& name, const RegistryData& data) = 0;
    virtual Status deleteValue(const std::wstring& name) = 0;
};

/// Resources of a device.
class LogicalConfiguration : public PlatformObject
{
public:
    /// Fails after the last descriptor.
    virtual Outcome<Resource> next() = 0;
};

/// Drivers of a device.
class DriverList : public PlatformObject
{
public:
    /// Fails past the last driver.
    virtual Outcome<DriverInfo> at(std::uint32_t position) = 0;
    virtual Outcome<DriverDetail> detail(std::uint32_t position) = 0;
    /// Full paths of the files that this driver installs.
    virtual Outcome<TextList> files(std::uint32_t position) = 0;
};

class DeviceList : public PlatformObject
{
public:
    /// Reads what the list is of, its machine too. Comes first: without it the list's devices are sought on this
    /// machine.
    virtual Status readDetail() = 0;
    /// Fails past the last device.
    virtual Outcome<DeviceIndex> at(std::uint32_t position) = 0;
    /// Adds the device with that id.
    virtual Outcome<DeviceIndex> open(const std::wstring& instanceId) = 0;
    /// Adds a new device named `className`, with an instance id that the system makes.
    virtual Outcome<DeviceIndex> create(const std::wstring& className, const Guid& setupClass) = 0;

    virtual Outcome<RegistryData> property(DeviceIndex device, DeviceProperty property) = 0;
    /// No data deletes the property.
    virtual Status setProperty(DeviceIndex device, DeviceProperty property,
                               const std::optional<RegistryData>& data) = 0;
    /// An id that does not fit `capacity` characters with its NUL fails.
    virtual Outcome<std::wstring> id(DeviceIndex device, std::size_t capacity) = 0;
    virtual Outcome<NodeStatus> status(DeviceIndex device) = 0;
    virtual Opened<LogicalConfiguration> openConfiguration(DeviceIndex device, ConfigurationKind kind) = 0;
    virtual Opened<DriverList> buildDriverList(DeviceIndex device, DriverListKind kind) = 0;

    virtual Status setStateChange(DeviceIndex device, StateChange change, std::uint32_t scope) = 0;
    virtual Status setRemoval(DeviceIndex device, std::uint32_t scope) = 0;
    virtual Status callClassInstaller(InstallFunction function, DeviceIndex device) = 0;
    /// The flags of the device's install parameters.
    virtual Outcome<std::uint32_t> installFlags(DeviceIndex device) = 0;

    /// Fails past the last interface.
    virtual Outcome<InterfaceIndex> interfaceAt(const Guid& interfaceClass, std::uint32_t position) = 0;
    /// The device path, read into a zeroed detail buffer of `bufferBytes`.
    virtual Outcome<std::wstring> interfacePath(InterfaceIndex position, std::size_t bufferBytes) = 0;
};

class InfHandle : public PlatformObject
{
public:
    virtual Outcome<InfLine> findLine(const std::wstring& section, const std::wstring& key) = 0;
    virtual Outcome<std::wstring> field(InfLine line, std::uint32_t field, std::size_t capacity) = 0;
};

/// Always on a file.
class FileSearch : public PlatformObject
{
public:
    virtual std::wstring fileName() const = 0;
    /// Fails after the last file.
    virtual Status next() = 0;
};

/// A library loaded by name, and what is called in it: each function takes the procedure of that name.
class LoadedLibrary : public PlatformObject
{
public:
    virtual Outcome<Procedure> find(const char* name) = 0;

    /// UpdateDriverForPlugAndPlayDevicesW: whether a restart is needed.
    virtual Outcome<bool> updateDriver(Procedure procedure, const std::wstring& hardwareId, const std::wstring& infPath,
                                       std::uint32_t flags) = 0;
    /// SetupSetNonInteractiveMode: the previous mode.
    virtual bool setNonInteractiveMode(Procedure procedure, bool on) = 0;
    /// SetupUninstallOEMInfW.
    virtual Status uninstallOemInf(Procedure procedure, const std::wstring& fileName, std::uint32_t flags) = 0;
    /// SetupVerifyInfFileW.
    virtual Verification verifyInfFile(Procedure procedure, const std::wstring& infName) = 0;
};

class ConnectedMachine : public PlatformObject
{
public:
    virtual Outcome<DeviceNode> locateRoot() = 0;
    virtual Status reenumerate(DeviceNode node) = 0;
};

class ServiceManager : public PlatformObject
{
public:
    virtual Opened<PlatformObject> openService(const std::wstring& name) = 0;
};

class ProcessToken : public PlatformObject
{
public:
    virtual Status enablePrivilege(PrivilegeId privilege) = 0;
};

} // namespace driver
