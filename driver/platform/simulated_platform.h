// simulated_platform.h: a system that exists in one JSON file only: classes, devices, driver store, services.
#pragma once

#include "driver/device_platform.h"
#include "driver/platform/simulated_store.h"

#include <filesystem>

namespace driver {

/// Works as the system does as far as the engine can tell; its Windows folder is "C:\Windows" by name. A driver package
/// installs what its INF says: models, service, copied files, device interfaces, the need of a restart. What a session
/// changed is in the file once it is committed; other programs that change the file wait until then.
class SimulatedPlatform final : public DevicePlatform
{
public:
    /// The tree in `file`, read when a session begins; a fresh one when there is no such file. A file that cannot be
    /// read or is no tree is kept as it is, and no session begins.
    explicit SimulatedPlatform(std::filesystem::path file) : m_system(std::move(file)) {}

    /// A tree that is nowhere but in memory.
    explicit SimulatedPlatform(DeviceTree tree) : m_system(std::move(tree)) {}

    /// As the last session left it.
    const DeviceTree& tree() const { return m_system.tree(); }

    /// Objects that were given out and are not closed yet.
    int openObjects() const { return m_system.openObjects; }

    /// Restarts of the system that were asked for.
    int restarts() const { return m_system.restarts; }

    void setHook(CallHook hook) { m_system.hook = std::move(hook); }

    Opened<CommandSession> begin(Access access) override { return m_system.begin(access); }

    GuidBatch classGuidsFromName(const std::wstring& name, std::uint32_t capacity, const MachineName& machine) override;
    GuidBatch buildClassList(std::uint32_t capacity, const MachineName& machine) override;
    Outcome<std::wstring> className(const Guid& guid, const MachineName& machine) override;
    Outcome<std::wstring> classDescription(const Guid& guid, const MachineName& machine) override;
    Opened<RegistryKey> openClassKey(const Guid& guid, std::uint32_t access, const MachineName& machine) override;

    Opened<DeviceList> classDevices(const std::optional<Guid>& setupClass, std::uint32_t flags,
                                    const MachineName& machine) override;
    Opened<DeviceList> emptyList(const std::optional<Guid>& setupClass, const MachineName& machine) override;
    Opened<DeviceList> interfaceDevices(const Guid& interfaceClass, std::uint32_t flags) override;

    Outcome<InfClass> infClass(const std::wstring& infPath, std::size_t nameCapacity) override;
    Outcome<FullPath> copyOemInf(const std::wstring& infPath, std::size_t capacity) override;
    Outcome<std::wstring> originalInfName(const std::wstring& storedName) override;
    Opened<InfHandle> openInf(const std::wstring& name) override { return openSimulatedInf(m_system, name); }
    Opened<LoadedLibrary> loadLibrary(const std::wstring& name) override
    {
        return loadSimulatedLibrary(m_system, name);
    }
    Outcome<FullPath> fullPath(const std::wstring& path, std::size_t capacity) override;
    Outcome<std::wstring> windowsDirectory(std::size_t capacity) override;
    Status fileExists(const std::wstring& path) override;
    Opened<FileSearch> findFiles(const std::wstring& pattern) override;

    Opened<ConnectedMachine> connectMachine(const MachineName& machine) override;
    Opened<ServiceManager> openServiceManager(const MachineName& machine) override;
    Outcome<std::wstring> loadText(std::uint32_t number, std::size_t capacity) override;
    Opened<ProcessToken> openProcessToken() override;
    Outcome<PrivilegeId> lookupPrivilege(const std::wstring& name) override;
    std::wstring errorText(ErrorCode error) override { return SimulatedSystem::errorText(error); }
    Status requestShutdown(const ShutdownRequest& request) override;

private:
    SimulatedSystem m_system;
};

} // namespace driver
