// setupapi_platform.h: the device installation of Windows.
#pragma once

#include "driver/device_platform.h"

namespace driver {

/// SetupAPI, the configuration manager, the registry and the service control manager, as they are. Nothing is kept
/// here.
class SetupApiPlatform final : public DevicePlatform
{
public:
    Opened<CommandSession> begin(Access access) override;

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
    Outcome<StoredInf> copyOemInf(const std::wstring& infPath, std::size_t capacity) override;
    Outcome<std::wstring> originalInfName(const std::wstring& storedName) override;
    Opened<InfHandle> openInf(const std::wstring& name) override;
    Opened<LoadedLibrary> loadLibrary(const std::wstring& name) override;
    Outcome<FullPath> fullPath(const std::wstring& path, std::size_t capacity) override;
    Outcome<std::wstring> windowsDirectory(std::size_t capacity) override;
    Status fileExists(const std::wstring& path) override;
    Opened<FileSearch> findFiles(const std::wstring& pattern) override;

    Opened<ConnectedMachine> connectMachine(const MachineName& machine) override;
    Opened<ServiceManager> openServiceManager(const MachineName& machine) override;
    Outcome<std::wstring> loadText(std::uint32_t number, std::size_t capacity) override;
    Opened<ProcessToken> openProcessToken() override;
    Outcome<PrivilegeId> lookupPrivilege(const std::wstring& name) override;
    std::wstring errorText(ErrorCode error) override;
    Status requestShutdown(const ShutdownRequest& request) override;
};

} // namespace driver
