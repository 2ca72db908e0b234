#include "driver/platform/system_platform.h"

#include "driver/messages/message_text.h"
#include "driver/platform/setupapi_objects.h"
#include "driver/platform/setupapi_values.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace driver {

namespace {

/// Lets `ask` fill up to `capacity` GUIDs and say how many there are.
template<class Ask>
GuidBatch askForGuids(std::uint32_t capacity, Ask ask)
{
    std::vector<GUID> guids(capacity);
    DWORD required = 0;
    GuidBatch batch;
    if (!ask(guids.data(), static_cast<DWORD>(guids.size()), &required))
        batch.error = Status(lastFailure()).error();
    batch.required = required;
    guids.resize(std::min<std::size_t>(required, guids.size()));
    if (batch.error == 0 || batch.error == ERROR_INSUFFICIENT_BUFFER)
        for (const GUID& guid : guids)
            batch.guids.push_back(guidOf(guid));
    return batch;
}

/// The system takes every change at once.
class SystemSession final : public CommandSession
{
public:
    Status commit() override { return {}; }
};

class SetupKey final : public RegistryKey
{
public:
    explicit SetupKey(HKEY key) : m_key(key) {}

    Outcome<RegistryData> value(const std::wstring& name) override
    {
        return readData(ERROR_MORE_DATA, [&](std::uint8_t* bytes, DWORD* type, DWORD* size) {
            return static_cast<ErrorCode>(RegQueryValueExW(m_key.get(), name.c_str(), nullptr, type, bytes, size));
        });
    }

    Status setValue(const std::wstring& name, const RegistryData& data) override
    {
        return statusOf(RegSetValueExW(m_key.get(), name.c_str(), 0, data.type, data.bytes.data(),
                                       static_cast<DWORD>(data.bytes.size())));
    }

    Status deleteValue(const std::wstring& name) override
    {
        return statusOf(RegDeleteValueW(m_key.get(), name.c_str()));
    }

private:
    static Status statusOf(LSTATUS result) { return result == ERROR_SUCCESS ? Status() : registryFailure(result); }

    OpenKey m_key;
};

class SetupSearch final : public FileSearch
{
public:
    SetupSearch(HANDLE handle, const WIN32_FIND_DATAW& first) : m_find(handle), m_found(first) {}

    std::wstring fileName() const override { return m_found.cFileName; }
    Status next() override { return statusOf(FindNextFileW(m_find.get(), &m_found)); }

private:
    FindHandle m_find;
    WIN32_FIND_DATAW m_found;
};

class SetupMachine final : public ConnectedMachine
{
public:
    /// Null is this machine.
    explicit SetupMachine(HMACHINE machine) : m_machine(machine) {}

    Outcome<DeviceNode> locateRoot() override
    {
        DEVINST root = 0;
        const CONFIGRET result = CM_Locate_DevNode_ExW(&root, nullptr, CM_LOCATE_DEVNODE_NORMAL, m_machine.get());
        if (result != CR_SUCCESS)
            return configurationFailure(result);
        return static_cast<DeviceNode>(root);
    }
    Status reenumerate(DeviceNode node) override
    {
        return configurationStatus(CM_Reenumerate_DevNode_Ex(static_cast<DEVINST>(node), 0, m_machine.get()));
    }

private:
    MachineConnection m_machine;
};

class SetupService final : public PlatformObject
{
public:
    explicit SetupService(OpenedService service) : m_service(std::move(service)) {}

private:
    OpenedService m_service;
};

class SetupServiceManager final : public ServiceManager
{
public:
    explicit SetupServiceManager(OpenedService manager) : m_manager(std::move(manager)) {}

    Opened<PlatformObject> openService(const std::wstring& name) override
    {
        OpenedService service(OpenServiceW(m_manager.get(), name.c_str(), GENERIC_READ));
        if (!service)
            return lastFailure();
        return std::make_unique<SetupService>(std::move(service));
    }

private:
    OpenedService m_manager;
};

class SetupToken final : public ProcessToken
{
public:
    explicit SetupToken(HANDLE token) : m_token(token) {}

    Status enablePrivilege(PrivilegeId privilege) override
    {
        const auto id = static_cast<std::uint64_t>(privilege);
        TOKEN_PRIVILEGES privileges{};
        privileges.PrivilegeCount = 1;
        privileges.Privileges[0].Luid = {static_cast<DWORD>(id & 0xFFFFFFFF), static_cast<LONG>(id >> 32)};
        privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
        if (!AdjustTokenPrivileges(m_token.get(), FALSE, &privileges, 0, nullptr, nullptr))
            return lastFailure();
        // A privilege that the token does not have is left out, which the call calls a success.
        return GetLastError() == ERROR_NOT_ALL_ASSIGNED ? lastFailure() : Status();
    }

private:
    KernelHandle m_token;
};

/// SetupAPI, the configuration manager, the registry and the service control manager, as they are. Nothing is kept
/// here.
class SetupApiPlatform final : public DevicePlatform
{
public:
    Opened<CommandSession> begin(Access) override { return std::make_unique<SystemSession>(); }

    GuidBatch classGuidsFromName(const std::wstring& name, std::uint32_t capacity, const MachineName& machine) override
    {
        return askForGuids(capacity, [&](GUID* guids, DWORD size, DWORD* required) {
            return SetupDiClassGuidsFromNameExW(name.c_str(), guids, size, required, nameOrNull(machine), nullptr);
        });
    }

    GuidBatch buildClassList(std::uint32_t capacity, const MachineName& machine) override
    {
        return askForGuids(capacity, [&](GUID* guids, DWORD size, DWORD* required) {
            return SetupDiBuildClassInfoListExW(0, guids, size, required, nameOrNull(machine), nullptr);
        });
    }

    Outcome<std::wstring> className(const Guid& guid, const MachineName& machine) override
    {
        const GUID systems = systemGuid(guid);
        wchar_t name[limits::kClassName] = {};
        if (!SetupDiClassNameFromGuidExW(&systems, name, limits::kClassName, nullptr, nameOrNull(machine), nullptr))
            return lastFailure();
        return std::wstring(name);
    }

    Outcome<std::wstring> classDescription(const Guid& guid, const MachineName& machine) override
    {
        const GUID systems = systemGuid(guid);
        wchar_t text[limits::kClassDescription] = {};
        if (!SetupDiGetClassDescriptionExW(&systems, text, limits::kClassDescription, nullptr, nameOrNull(machine),
                                           nullptr))
            return lastFailure();
        return std::wstring(text);
    }

    Opened<RegistryKey> openClassKey(const Guid& guid, std::uint32_t access, const MachineName& machine) override
    {
        const GUID systems = systemGuid(guid);
        const HKEY key = SetupDiOpenClassRegKeyExW(&systems, access, DIOCR_INSTALLER, nameOrNull(machine), nullptr);
        if (key == INVALID_HANDLE_VALUE)
            return lastFailure();
        return std::make_unique<SetupKey>(key);
    }

    Opened<DeviceList> classDevices(const std::optional<Guid>& setupClass, std::uint32_t flags,
                                    const MachineName& machine) override
    {
        const GUID guid = systemGuid(setupClass.value_or(Guid()));
        return setupDeviceList(SetupDiGetClassDevsExW(setupClass ? &guid : nullptr, nullptr, nullptr,
                                                      flags | (setupClass ? 0 : DIGCF_ALLCLASSES), nullptr,
                                                      nameOrNull(machine), nullptr));
    }

    Opened<DeviceList> emptyList(const std::optional<Guid>& setupClass, const MachineName& machine) override
    {
        const GUID guid = systemGuid(setupClass.value_or(Guid()));
        return setupDeviceList(
            SetupDiCreateDeviceInfoListExW(setupClass ? &guid : nullptr, nullptr, nameOrNull(machine), nullptr));
    }

    Opened<DeviceList> interfaceDevices(const Guid& interfaceClass, std::uint32_t flags) override
    {
        const GUID guid = systemGuid(interfaceClass);
        return setupDeviceList(SetupDiGetClassDevsW(&guid, nullptr, nullptr, flags));
    }

    Outcome<InfClass> infClass(const std::wstring& infPath, std::size_t nameCapacity) override
    {
        std::vector<wchar_t> name(nameCapacity);
        GUID guid{};
        if (!SetupDiGetINFClassW(infPath.c_str(), &guid, name.data(), static_cast<DWORD>(name.size()), nullptr))
            return lastFailure();
        return InfClass{guidOf(guid), name.data()};
    }

    Outcome<FullPath> copyOemInf(const std::wstring& infPath, std::size_t capacity) override
    {
        std::vector<wchar_t> destination(capacity);
        wchar_t* fileName = nullptr;
        if (!SetupCopyOEMInfW(infPath.c_str(), nullptr, SPOST_PATH, 0, destination.data(),
                              static_cast<DWORD>(destination.size()), nullptr, &fileName))
            return lastFailure();
        return FullPath{destination.data(), fileName == nullptr ? destination.data() : fileName};
    }

    Outcome<std::wstring> originalInfName(const std::wstring& storedName) override
    {
        DWORD size = 0;
        if (!SetupGetInfInformationW(storedName.c_str(), INFINFO_DEFAULT_SEARCH, nullptr, 0, &size))
            return lastFailure();
        std::vector<std::uint64_t> buffer(size / 8 + 1); // aligned for the structure
        auto* const information = reinterpret_cast<SP_INF_INFORMATION*>(buffer.data());
        auto original = sized<SP_ORIGINAL_FILE_INFO_W>();
        if (!SetupGetInfInformationW(storedName.c_str(), INFINFO_DEFAULT_SEARCH, information, size, nullptr) ||
            !SetupQueryInfOriginalFileInformationW(information, 0, nullptr, &original))
            return lastFailure();
        return std::wstring(original.OriginalInfName);
    }

    Opened<InfHandle> openInf(const std::wstring& name) override { return openSetupInf(name); }

    Opened<LoadedLibrary> loadLibrary(const std::wstring& name) override { return loadSetupLibrary(name); }

    Outcome<FullPath> fullPath(const std::wstring& path, std::size_t capacity) override
    {
        std::vector<wchar_t> buffer(capacity);
        wchar_t* name = nullptr;
        const DWORD length = GetFullPathNameW(path.c_str(), static_cast<DWORD>(buffer.size()), buffer.data(), &name);
        if (length == 0)
            return lastFailure();
        if (length >= capacity)
            return Failure{errors::kNameTooLong};
        return FullPath{buffer.data(), name == nullptr ? L"" : name};
    }

    Outcome<std::wstring> windowsDirectory(std::size_t capacity) override
    {
        std::vector<wchar_t> buffer(capacity);
        const UINT length = GetWindowsDirectoryW(buffer.data(), static_cast<UINT>(buffer.size()));
        if (length == 0)
            return lastFailure();
        return length < capacity ? Outcome<std::wstring>(buffer.data()) : Failure{errors::kNameTooLong};
    }

    Status fileExists(const std::wstring& path) override
    {
        return statusOf(GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES);
    }

    Opened<FileSearch> findFiles(const std::wstring& pattern) override
    {
        WIN32_FIND_DATAW first{};
        const HANDLE handle = FindFirstFileW(pattern.c_str(), &first);
        if (handle == INVALID_HANDLE_VALUE)
            return lastFailure();
        return std::make_unique<SetupSearch>(handle, first);
    }

    Opened<ConnectedMachine> connectMachine(const MachineName& machine) override
    {
        HMACHINE handle = nullptr;
        const CONFIGRET result = machine.empty() ? CR_SUCCESS : CM_Connect_MachineW(machine.c_str(), &handle);
        if (result != CR_SUCCESS)
            return configurationFailure(result);
        return std::make_unique<SetupMachine>(handle);
    }

    Opened<ServiceManager> openServiceManager(const MachineName& machine) override
    {
        OpenedService manager(OpenSCManagerW(nameOrNull(machine), nullptr, GENERIC_READ));
        if (!manager)
            return lastFailure();
        return std::make_unique<SetupServiceManager>(std::move(manager));
    }

    Outcome<std::wstring> loadText(std::uint32_t number, std::size_t capacity) override
    {
        return loadedText(number, capacity);
    }

    Opened<ProcessToken> openProcessToken() override
    {
        HANDLE token = nullptr;
        if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token))
            return lastFailure();
        return std::make_unique<SetupToken>(token);
    }

    Outcome<PrivilegeId> lookupPrivilege(const std::wstring& name) override
    {
        LUID id{};
        if (!LookupPrivilegeValueW(nullptr, name.c_str(), &id))
            return lastFailure();
        return static_cast<PrivilegeId>(static_cast<std::uint64_t>(static_cast<std::uint32_t>(id.HighPart)) << 32 |
                                        id.LowPart);
    }

    std::wstring errorText(ErrorCode error) override
    {
        // The system keeps the texts of SetupAPI's errors under their HRESULTs.
        const DWORD number = (error & 0xF0000000) == 0xE0000000 ? 0x800F0000 | (error & 0xFFFF) : error;
        wchar_t text[512] = {};
        const DWORD length =
            FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
                           nullptr, number, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
        std::wstring line(text, length);
        line.resize(line.find_last_not_of(L" \r\n") + 1);
        return line;
    }

    Status requestShutdown(const ShutdownRequest& request) override
    {
        return statusOf(InitiateSystemShutdownExW(nullptr, nullptr, request.timeoutSeconds,
                                                  request.forceApplicationsClosed, request.reboot, request.reason));
    }
};

} // namespace

std::unique_ptr<DevicePlatform> systemPlatform(const std::filesystem::path&)
{
    return std::make_unique<SetupApiPlatform>();
}

} // namespace driver
