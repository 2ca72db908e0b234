// Setup classes and their keys, files, machines, services, the string table and shutting down.
#include "driver/messages/message_text.h"
#include "driver/platform/setupapi_objects.h"
#include "driver/platform/setupapi_platform.h"

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
        batch.error = lastError() == 0 ? errors::kGeneralFailure : lastError();
    batch.required = required;
    guids.resize(std::min<std::size_t>(required, guids.size()));
    if (batch.error == 0 || batch.error == ERROR_INSUFFICIENT_BUFFER)
        for (const GUID& guid : guids)
            batch.guids.push_back(guidOf(guid));
    return batch;
}

struct SetupSearch final : FileSearch
{
    SetupSearch(HANDLE handle, const WIN32_FIND_DATAW& first) : find(handle), found(first) {}
    FindHandle find;
    WIN32_FIND_DATAW found;
};

HMACHINE machineOf(ConnectedMachine* machine)
{
    return machine == nullptr ? nullptr : static_cast<SetupMachine*>(machine)->owner.get();
}

} // namespace

GuidBatch SetupApiPlatform::classGuidsFromName(const std::wstring& name, std::uint32_t capacity,
                                               const MachineName& machine)
{
    return askForGuids(capacity, [&](GUID* guids, DWORD size, DWORD* required) {
        return SetupDiClassGuidsFromNameExW(name.c_str(), guids, size, required, nameOrNull(machine), nullptr);
    });
}

GuidBatch SetupApiPlatform::buildClassList(std::uint32_t capacity, const MachineName& machine)
{
    return askForGuids(capacity, [&](GUID* guids, DWORD size, DWORD* required) {
        return SetupDiBuildClassInfoListExW(0, guids, size, required, nameOrNull(machine), nullptr);
    });
}

Outcome<std::wstring> SetupApiPlatform::className(const Guid& guid, const MachineName& machine)
{
    const GUID systems = systemGuid(guid);
    wchar_t name[limits::kClassName] = {};
    if (!SetupDiClassNameFromGuidExW(&systems, name, limits::kClassName, nullptr, nameOrNull(machine), nullptr))
        return Outcome<std::wstring>::failed(lastError());
    return std::wstring(name);
}

Outcome<std::wstring> SetupApiPlatform::classDescription(const Guid& guid, const MachineName& machine)
{
    const GUID systems = systemGuid(guid);
    wchar_t text[limits::kClassDescription] = {};
    if (!SetupDiGetClassDescriptionExW(&systems, text, limits::kClassDescription, nullptr, nameOrNull(machine),
                                       nullptr))
        return Outcome<std::wstring>::failed(lastError());
    return std::wstring(text);
}

Opened<RegistryKey> SetupApiPlatform::openClassKey(const Guid& guid, std::uint32_t access, const MachineName& machine)
{
    const GUID systems = systemGuid(guid);
    const HKEY key = SetupDiOpenClassRegKeyExW(&systems, access, DIOCR_INSTALLER, nameOrNull(machine), nullptr);
    if (key == INVALID_HANDLE_VALUE)
        return Opened<RegistryKey>::failed(lastError());
    return Opened<RegistryKey>(std::make_unique<SetupKey>(OpenKey(key)));
}

Outcome<RegistryData> SetupApiPlatform::queryValue(RegistryKey& key, const std::wstring& name)
{
    RegistryData data{0, std::vector<std::uint8_t>(512)};
    for (;;) {
        DWORD type = 0;
        auto size = static_cast<DWORD>(data.bytes.size());
        const LSTATUS result = RegQueryValueExW(static_cast<SetupKey&>(key).owner.get(), name.c_str(), nullptr, &type,
                                                data.bytes.data(), &size);
        if (result == ERROR_SUCCESS) {
            data.type = type;
            data.bytes.resize(size);
            return data;
        }
        if (result != ERROR_MORE_DATA || size <= data.bytes.size())
            return Outcome<RegistryData>::failed(static_cast<ErrorCode>(result));
        data.bytes.resize(size);
    }
}

Status SetupApiPlatform::setValue(RegistryKey& key, const std::wstring& name, const RegistryData& data)
{
    const LSTATUS result = RegSetValueExW(static_cast<SetupKey&>(key).owner.get(), name.c_str(), 0, data.type,
                                          data.bytes.data(), static_cast<DWORD>(data.bytes.size()));
    return result == ERROR_SUCCESS ? Status() : Status::failed(static_cast<ErrorCode>(result));
}

Status SetupApiPlatform::deleteValue(RegistryKey& key, const std::wstring& name)
{
    const LSTATUS result = RegDeleteValueW(static_cast<SetupKey&>(key).owner.get(), name.c_str());
    return result == ERROR_SUCCESS ? Status() : Status::failed(static_cast<ErrorCode>(result));
}

FullPath SetupApiPlatform::fullPath(const std::wstring& path, std::size_t capacity)
{
    std::vector<wchar_t> buffer(capacity);
    wchar_t* name = nullptr;
    const DWORD length = GetFullPathNameW(path.c_str(), static_cast<DWORD>(buffer.size()), buffer.data(), &name);
    if (length == 0 || length >= capacity)
        return {length, {}, {}};
    return {length, buffer.data(), name == nullptr ? L"" : name};
}

bool SetupApiPlatform::fileExists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

FullPath SetupApiPlatform::windowsDirectory(std::size_t capacity)
{
    std::vector<wchar_t> buffer(capacity);
    const UINT length = GetWindowsDirectoryW(buffer.data(), static_cast<UINT>(buffer.size()));
    return length == 0 || length >= capacity ? FullPath{length, {}, {}} : FullPath{length, buffer.data(), {}};
}

Opened<FileSearch> SetupApiPlatform::findFiles(const std::wstring& pattern)
{
    WIN32_FIND_DATAW first{};
    const HANDLE handle = FindFirstFileW(pattern.c_str(), &first);
    if (handle == INVALID_HANDLE_VALUE)
        return Opened<FileSearch>::failed(lastError());
    return Opened<FileSearch>(std::make_unique<SetupSearch>(handle, first));
}

std::wstring SetupApiPlatform::foundFile(FileSearch& search)
{
    return static_cast<SetupSearch&>(search).found.cFileName;
}

Status SetupApiPlatform::findNextFile(FileSearch& search)
{
    auto& state = static_cast<SetupSearch&>(search);
    return statusOf(FindNextFileW(state.find.get(), &state.found));
}

Opened<ConnectedMachine> SetupApiPlatform::connectMachine(const MachineName& machine)
{
    HMACHINE handle = nullptr;
    const CONFIGRET result = CM_Connect_MachineW(machine.c_str(), &handle);
    if (result != CR_SUCCESS)
        return Opened<ConnectedMachine>::failed(result);
    return Opened<ConnectedMachine>(std::make_unique<SetupMachine>(MachineConnection(handle)));
}

Outcome<DeviceNode> SetupApiPlatform::locateRoot(ConnectedMachine* machine)
{
    DEVINST root = 0;
    const CONFIGRET result = CM_Locate_DevNode_ExW(&root, nullptr, CM_LOCATE_DEVNODE_NORMAL, machineOf(machine));
    return result == CR_SUCCESS ? Outcome<DeviceNode>(static_cast<DeviceNode>(root))
                                : Outcome<DeviceNode>::failed(result);
}

Status SetupApiPlatform::reenumerate(DeviceNode node, ConnectedMachine* machine)
{
    const CONFIGRET result = CM_Reenumerate_DevNode_Ex(static_cast<DEVINST>(node), 0, machineOf(machine));
    return result == CR_SUCCESS ? Status() : Status::failed(result);
}

Opened<ServiceHandle> SetupApiPlatform::openServiceManager(const MachineName& machine)
{
    OpenedService manager(OpenSCManagerW(nameOrNull(machine), nullptr, GENERIC_READ));
    if (!manager)
        return Opened<ServiceHandle>::failed(lastError());
    return Opened<ServiceHandle>(std::make_unique<SetupService>(std::move(manager)));
}

Opened<ServiceHandle> SetupApiPlatform::openService(ServiceHandle& manager, const std::wstring& name)
{
    OpenedService service(OpenServiceW(static_cast<SetupService&>(manager).owner.get(), name.c_str(), GENERIC_READ));
    if (!service)
        return Opened<ServiceHandle>::failed(lastError());
    return Opened<ServiceHandle>(std::make_unique<SetupService>(std::move(service)));
}

Outcome<std::wstring> SetupApiPlatform::loadText(std::uint32_t number, std::size_t capacity)
{
    return loadedText(number, capacity);
}

Opened<TokenHandle> SetupApiPlatform::openProcessToken()
{
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token))
        return Opened<TokenHandle>::failed(lastError());
    return Opened<TokenHandle>(std::make_unique<SetupToken>(KernelHandle(token)));
}

Outcome<PrivilegeId> SetupApiPlatform::lookupPrivilege(const std::wstring& name)
{
    LUID id{};
    if (!LookupPrivilegeValueW(nullptr, name.c_str(), &id))
        return Outcome<PrivilegeId>::failed(lastError());
    return static_cast<PrivilegeId>(static_cast<std::uint64_t>(static_cast<std::uint32_t>(id.HighPart)) << 32 |
                                    id.LowPart);
}

Status SetupApiPlatform::enablePrivilege(TokenHandle& token, PrivilegeId privilege)
{
    const auto id = static_cast<std::uint64_t>(privilege);
    TOKEN_PRIVILEGES privileges{};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Luid = {static_cast<DWORD>(id & 0xFFFFFFFF), static_cast<LONG>(id >> 32)};
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    return statusOf(
        AdjustTokenPrivileges(static_cast<SetupToken&>(token).owner.get(), FALSE, &privileges, 0, nullptr, nullptr));
}

Status SetupApiPlatform::requestShutdown(const ShutdownRequest& request)
{
    return statusOf(InitiateSystemShutdownExW(nullptr, nullptr, request.timeoutSeconds, request.forceApplicationsClosed,
                                              request.reboot, request.reason));
}

} // namespace driver
