// device_platform.h: what the driver engine opens and asks of the system, in four roles.
#pragma once

#include "driver/platform_objects.h"

namespace driver {

class SetupClasses
{
public:
    virtual ~SetupClasses() = default;

    /// Classes of that name, up to `capacity` of them.
    virtual GuidBatch classGuidsFromName(const std::wstring& name, std::uint32_t capacity,
                                         const MachineName& machine) = 0;
    virtual GuidBatch buildClassList(std::uint32_t capacity, const MachineName& machine) = 0;
    virtual Outcome<std::wstring> className(const Guid& guid, const MachineName& machine) = 0;
    virtual Outcome<std::wstring> classDescription(const Guid& guid, const MachineName& machine) = 0;
    /// The class's own key (not an interface's), with the registry access mask `access`.
    virtual Opened<RegistryKey> openClassKey(const Guid& guid, std::uint32_t access, const MachineName& machine) = 0;
};

class DeviceLists
{
public:
    virtual ~DeviceLists() = default;

    /// Devices of one class, or of all without one; `flags` are the enumeration flags beside that choice.
    virtual Opened<DeviceList> classDevices(const std::optional<Guid>& setupClass, std::uint32_t flags,
                                            const MachineName& machine) = 0;
    virtual Opened<DeviceList> emptyList(const std::optional<Guid>& setupClass, const MachineName& machine) = 0;
    virtual Opened<DeviceList> interfaceDevices(const Guid& interfaceClass, std::uint32_t flags) = 0;
};

class DriverStore
{
public:
    virtual ~DriverStore() = default;

    virtual Outcome<InfClass> infClass(const std::wstring& infPath, std::size_t nameCapacity) = 0;
    /// Stores the INF and its files from its own folder.
    virtual Outcome<FullPath> copyOemInf(const std::wstring& infPath, std::size_t capacity) = 0;
    /// Name that the INF of a stored package had where it came from; empty when that is not known.
    virtual Outcome<std::wstring> originalInfName(const std::wstring& storedName) = 0;
    virtual Opened<InfHandle> openInf(const std::wstring& name) = 0;
    virtual Opened<LoadedLibrary> loadLibrary(const std::wstring& name) = 0;

    /// A path that does not fit `capacity` characters with its NUL is too long a name; so for the folder below.
    virtual Outcome<FullPath> fullPath(const std::wstring& path, std::size_t capacity) = 0;
    virtual Outcome<std::wstring> windowsDirectory(std::size_t capacity) = 0;
    virtual Status fileExists(const std::wstring& path) = 0;
    /// A search positioned on its first file; fails when no file matches.
    virtual Opened<FileSearch> findFiles(const std::wstring& pattern) = 0;
};

class Machine
{
public:
    virtual ~Machine() = default;

    /// This machine without a name, which needs no connection.
    virtual Opened<ConnectedMachine> connectMachine(const MachineName& machine) = 0;
    /// For reading only.
    virtual Opened<ServiceManager> openServiceManager(const MachineName& machine) = 0;
    /// Entry `number` of the program's string table.
    virtual Outcome<std::wstring> loadText(std::uint32_t number, std::size_t capacity) = 0;
    virtual Opened<ProcessToken> openProcessToken() = 0;
    virtual Outcome<PrivilegeId> lookupPrivilege(const std::wstring& name) = 0;
    /// What the system says of one of its errors, as one line; empty when it has no text. Not for results of the
    /// configuration manager.
    virtual std::wstring errorText(ErrorCode error) = 0;
    virtual Status requestShutdown(const ShutdownRequest& request) = 0;
};

/// No call decides anything: order, retries, limits and what an error means are the engine's. Not for use by two
/// threads at once.
class DevicePlatform : public SetupClasses, public DeviceLists, public DriverStore, public Machine
{
public:
    /// Comes before a command's first call; one session at a time.
    virtual Opened<CommandSession> begin(Access access) = 0;
};

} // namespace driver
