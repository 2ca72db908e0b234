#include "driver/platform/simulated_platform.h"

#include "driver/class_filters.h"
#include "driver/messages/message_text.h"
#include "driver/platform/device_tree_file.h"
#include "driver/platform/simulated_objects.h"
#include "driver/text.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>

namespace driver {

namespace {

constexpr std::uint32_t kWriteAccess = 0x2; // the right to set a value
constexpr const wchar_t* kWindowsFolder = L"C:\\Windows";

constexpr std::array<const wchar_t*, 2> kLibraries{L"newdev.dll", L"setupapi.dll"};
constexpr std::array<const char*, 4> kProcedures{"UpdateDriverForPlugAndPlayDevicesW", "SetupSetNonInteractiveMode",
                                                 "SetupUninstallOEMInfW", "SetupVerifyInfFileW"};

GuidBatch batchOf(std::vector<Guid> guids, std::uint32_t capacity)
{
    const auto required = static_cast<std::uint32_t>(guids.size());
    if (required <= capacity)
        return {std::move(guids), required, 0};
    guids.resize(capacity);
    return {std::move(guids), required, errors::kInsufficientBuffer};
}

Outcome<std::wstring> classText(const std::wstring* text, std::size_t capacity)
{
    if (text == nullptr || text->empty())
        return Outcome<std::wstring>::failed(errors::kInvalidClass);
    return text->size() < capacity ? Outcome<std::wstring>(*text)
                                   : Outcome<std::wstring>::failed(errors::kInsufficientBuffer);
}

/// The list that a value of a class's key is; null for other values.
TextList* filterList(SimulatedClass* setupClass, const std::wstring& name)
{
    if (setupClass == nullptr)
        return nullptr;
    if (equalIgnoringCase(name, kUpperFilters))
        return &setupClass->upperFilters;
    return equalIgnoringCase(name, kLowerFilters) ? &setupClass->lowerFilters : nullptr;
}

std::filesystem::path localFile(const std::wstring& path)
{
    return std::filesystem::path(localPath(path));
}

/// As the system answers a path of `text` for a buffer of `capacity`.
FullPath pathAnswer(std::wstring text, std::size_t capacity)
{
    if (text.size() >= capacity)
        return {text.size() + 1, {}, {}};
    std::wstring name(afterLast(text, L"/\\"));
    return {text.size(), std::move(text), std::move(name)};
}

} // namespace

std::u8string localPath(const std::wstring& path)
{
    const std::string bytes = toUtf8(path.c_str());
    std::u8string local(bytes.begin(), bytes.end());
    if constexpr (std::filesystem::path::preferred_separator == '/')
        std::ranges::replace(local, u8'\\', u8'/');
    return local;
}

std::optional<std::string> readInfBytes(const std::wstring& path)
{
    const std::filesystem::path file = localFile(path);
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error) ||
        std::filesystem::file_size(file, error) > InfFile::kLargestFile || error)
        return std::nullopt;
    std::ifstream stream(file, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    return stream ? std::optional(std::move(bytes)) : std::nullopt;
}

SimulatedPlatform::SimulatedPlatform(std::filesystem::path file) : m_file(std::move(file))
{
    auto tree = loadTree(m_file);
    m_broken = !tree;
    m_tree = tree ? std::move(*tree) : DeviceTree();
}

SimulatedPlatform::SimulatedPlatform(DeviceTree tree) : m_tree(std::move(tree))
{}

Status SimulatedPlatform::change(const std::function<Status(DeviceTree&)>& edit)
{
    if (m_broken)
        return Status::failed(errors::kFileCorrupt);
    DeviceTree copy = m_tree;
    if (const Status edited = edit(copy); !edited)
        return edited;
    if (!m_file.empty() && !saveTree(copy, m_file))
        return Status::failed(errors::kWriteFault);
    m_tree = std::move(copy);
    return {};
}

bool SimulatedPlatform::reachable(const MachineName& machine) const
{
    return machine.empty() || std::ranges::any_of(m_tree.machines, [&](const std::wstring& each) {
               return equalIgnoringCase(each, machine);
           });
}

GuidBatch SimulatedPlatform::classGuidsFromName(const std::wstring& name, std::uint32_t capacity,
                                                const MachineName& machine)
{
    if (!reachable(machine))
        return {{}, 0, errors::kBadNetworkPath};
    std::vector<Guid> guids;
    for (const SimulatedClass& each : m_tree.classes)
        if (!each.name.empty() && equalIgnoringCase(each.name, name))
            guids.push_back(each.guid);
    return batchOf(std::move(guids), capacity);
}

GuidBatch SimulatedPlatform::buildClassList(std::uint32_t capacity, const MachineName& machine)
{
    if (!reachable(machine))
        return {{}, 0, errors::kBadNetworkPath};
    std::vector<Guid> guids;
    for (const SimulatedClass& each : m_tree.classes)
        guids.push_back(each.guid);
    return batchOf(std::move(guids), capacity);
}

Outcome<std::wstring> SimulatedPlatform::className(const Guid& guid, const MachineName& machine)
{
    const SimulatedClass* const found = reachable(machine) ? m_tree.setupClass(guid) : nullptr;
    return classText(found == nullptr ? nullptr : &found->name, limits::kClassName);
}

Outcome<std::wstring> SimulatedPlatform::classDescription(const Guid& guid, const MachineName& machine)
{
    const SimulatedClass* const found = reachable(machine) ? m_tree.setupClass(guid) : nullptr;
    return classText(found == nullptr ? nullptr : &found->description, limits::kClassDescription);
}

Opened<RegistryKey> SimulatedPlatform::openClassKey(const Guid& guid, std::uint32_t access, const MachineName& machine)
{
    if (!reachable(machine) || m_tree.setupClass(guid) == nullptr)
        return Opened<RegistryKey>::failed(errors::kInvalidClass);
    return simulated<RegistryKey>(m_openObjects, ClassKeyState{guid, (access & kWriteAccess) != 0});
}

Outcome<RegistryData> SimulatedPlatform::queryValue(RegistryKey& key, const std::wstring& name)
{
    const TextList* const list = filterList(m_tree.setupClass(stateOf<ClassKeyState>(key).setupClass), name);
    return list == nullptr || list->empty() ? Outcome<RegistryData>::failed(errors::kFileNotFound)
                                            : encodeTextList(*list);
}

Status SimulatedPlatform::setValue(RegistryKey& key, const std::wstring& name, const RegistryData& data)
{
    const auto& state = stateOf<ClassKeyState>(key);
    return change([&](DeviceTree& tree) {
        TextList* const list = state.writable ? filterList(tree.setupClass(state.setupClass), name) : nullptr;
        if (list == nullptr)
            return Status::failed(errors::kInvalidParameter);
        *list = decodeTextList(data);
        return Status();
    });
}

Status SimulatedPlatform::deleteValue(RegistryKey& key, const std::wstring& name)
{
    const auto& state = stateOf<ClassKeyState>(key);
    return change([&](DeviceTree& tree) {
        TextList* const list = state.writable ? filterList(tree.setupClass(state.setupClass), name) : nullptr;
        if (list == nullptr || list->empty())
            return Status::failed(list == nullptr ? errors::kInvalidParameter : errors::kFileNotFound);
        list->clear();
        return Status();
    });
}

FullPath SimulatedPlatform::fullPath(const std::wstring& path, std::size_t capacity)
{
    const std::u8string local = localPath(path);
    std::error_code error;
    const auto absolute = local.empty() ? std::filesystem::path() : std::filesystem::absolute(local, error);
    if (local.empty() || error)
        return {};
    const std::u8string text = absolute.lexically_normal().u8string();
    return pathAnswer(fromUtf8(std::string(text.begin(), text.end())), capacity);
}

bool SimulatedPlatform::fileExists(const std::wstring& path)
{
    std::error_code error;
    return std::filesystem::exists(localFile(path), error);
}

FullPath SimulatedPlatform::windowsDirectory(std::size_t capacity)
{
    return pathAnswer(kWindowsFolder, capacity);
}

Opened<FileSearch> SimulatedPlatform::findFiles(const std::wstring& pattern)
{
    FileSearchState state;
    if (equalIgnoringCase(pattern, kSimulatedInfFolder + std::wstring(L"OEM*.INF")))
        for (const SimulatedPackage& package : m_tree.packages)
            state.names.push_back(package.name);
    if (state.names.empty())
        return Opened<FileSearch>::failed(errors::kFileNotFound);
    return simulated<FileSearch>(m_openObjects, std::move(state));
}

std::wstring SimulatedPlatform::foundFile(FileSearch& search)
{
    const auto& state = stateOf<FileSearchState>(search);
    return state.names[state.current];
}

Status SimulatedPlatform::findNextFile(FileSearch& search)
{
    auto& state = stateOf<FileSearchState>(search);
    if (state.current + 1 >= state.names.size())
        return Status::failed(errors::kNoMoreItems);
    ++state.current;
    return {};
}

Opened<LoadedLibrary> SimulatedPlatform::loadLibrary(const std::wstring& name)
{
    if (std::ranges::none_of(kLibraries, [&](const wchar_t* each) { return equalIgnoringCase(each, name); }))
        return Opened<LoadedLibrary>::failed(errors::kModuleNotFound);
    return simulated<LoadedLibrary>(m_openObjects, NoState());
}

Outcome<Procedure> SimulatedPlatform::findProcedure(LoadedLibrary&, const char* name)
{
    const auto found = std::ranges::find(kProcedures, std::string_view(name));
    if (found == kProcedures.end())
        return Outcome<Procedure>::failed(errors::kProcedureNotFound);
    return static_cast<Procedure>(found - kProcedures.begin() + 1);
}

bool SimulatedPlatform::setNonInteractiveMode(Procedure, bool on)
{
    return std::exchange(m_nonInteractive, on);
}

Opened<ConnectedMachine> SimulatedPlatform::connectMachine(const MachineName& machine)
{
    if (!reachable(machine))
        return Opened<ConnectedMachine>::failed(configuration::kFailure);
    return simulated<ConnectedMachine>(m_openObjects, NoState());
}

Outcome<DeviceNode> SimulatedPlatform::locateRoot(ConnectedMachine*)
{
    return m_broken ? Outcome<DeviceNode>::failed(configuration::kNoSuchDevice) : static_cast<DeviceNode>(1);
}

Status SimulatedPlatform::reenumerate(DeviceNode, ConnectedMachine*)
{
    return {};
}

Opened<ServiceHandle> SimulatedPlatform::openServiceManager(const MachineName& machine)
{
    if (!reachable(machine))
        return Opened<ServiceHandle>::failed(errors::kBadNetworkPath);
    return simulated<ServiceHandle>(m_openObjects, NoState());
}

Opened<ServiceHandle> SimulatedPlatform::openService(ServiceHandle&, const std::wstring& name)
{
    if (std::ranges::none_of(m_tree.services, [&](const auto& each) { return equalIgnoringCase(each, name); }))
        return Opened<ServiceHandle>::failed(errors::kServiceDoesNotExist);
    return simulated<ServiceHandle>(m_openObjects, NoState());
}

Outcome<std::wstring> SimulatedPlatform::loadText(std::uint32_t number, std::size_t capacity)
{
    return loadedText(number, capacity);
}

Opened<TokenHandle> SimulatedPlatform::openProcessToken()
{
    return simulated<TokenHandle>(m_openObjects, NoState());
}

Outcome<PrivilegeId> SimulatedPlatform::lookupPrivilege(const std::wstring& name)
{
    if (name != L"SeShutdownPrivilege")
        return Outcome<PrivilegeId>::failed(errors::kInvalidParameter);
    return static_cast<PrivilegeId>(19);
}

Status SimulatedPlatform::enablePrivilege(TokenHandle&, PrivilegeId)
{
    return {};
}

Status SimulatedPlatform::requestShutdown(const ShutdownRequest&)
{
    ++m_restarts;
    return {};
}

} // namespace driver
