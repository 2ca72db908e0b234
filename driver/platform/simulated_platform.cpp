#include "driver/platform/simulated_platform.h"

#include "driver/class_filters.h"
#include "driver/messages/message_text.h"
#include "driver/platform/simulated_device_list.h"

#include <algorithm>

namespace driver {

namespace {

constexpr std::uint32_t kWriteAccess = 0x2; // the right to set a value
constexpr std::uint32_t kPresentOnly = 2;
constexpr const wchar_t* kWindowsFolder = L"C:\\Windows";

/// The classes of that name, or all of them.
GuidBatch classGuids(SimulatedSystem& system, const char* call, const std::wstring* name, std::uint32_t capacity,
                     const MachineName& machine)
{
    if (const auto failure = system.fails(call, capacity))
        return {{}, 0, failure->code};
    if (!system.reachable(machine))
        return {{}, 0, errors::kBadNetworkPath};
    GuidBatch batch;
    for (const SimulatedClass& each : system.tree().classes)
        if (name == nullptr || (!each.name.empty() && equalIgnoringCase(each.name, *name)))
            batch.guids.push_back(each.guid);
    batch.required = static_cast<std::uint32_t>(batch.guids.size());
    if (batch.required > capacity) {
        batch.guids.resize(capacity);
        batch.error = errors::kInsufficientBuffer;
    }
    return batch;
}

Outcome<std::wstring> classText(SimulatedSystem& system, const char* call, const Guid& guid, const MachineName& machine,
                                std::wstring SimulatedClass::*text, std::size_t capacity)
{
    if (const auto failure = system.fails(call))
        return *failure;
    const SimulatedClass* const found = system.reachable(machine) ? system.tree().setupClass(guid) : nullptr;
    if (found == nullptr || (found->*text).empty())
        return Failure{errors::kInvalidClass};
    return (found->*text).size() < capacity ? Outcome<std::wstring>(found->*text)
                                            : Failure{errors::kInsufficientBuffer};
}

bool active(const SimulatedDevice& device)
{
    return device.present && (device.status.flags & node_status::kStarted) != 0;
}

class SimulatedKey final : public Simulated<RegistryKey>
{
public:
    SimulatedKey(SimulatedSystem& system, const Guid& setupClass, bool writable)
        : Simulated(system)
        , m_class(setupClass)
        , m_writable(writable)
    {}

    Outcome<RegistryData> value(const std::wstring& name) override
    {
        if (const auto failure = m_system.fails("queryValue"))
            return *failure;
        const SimulatedClass* const setupClass = m_system.tree().setupClass(m_class);
        const TextList SimulatedClass::*const list = filterList(name);
        if (setupClass == nullptr || list == nullptr || (setupClass->*list).empty())
            return Failure{errors::kFileNotFound};
        return encodeTextList(setupClass->*list);
    }

    Status setValue(const std::wstring& name, const RegistryData& data) override
    {
        if (const auto failure = m_system.fails("setValue"))
            return *failure;
        return edit(name, [&](TextList& list) {
            list = decodeTextList(data);
            return Status();
        });
    }

    Status deleteValue(const std::wstring& name) override
    {
        if (const auto failure = m_system.fails("deleteValue"))
            return *failure;
        return edit(name, [](TextList& list) {
            if (list.empty())
                return Status(Failure{errors::kFileNotFound});
            list.clear();
            return Status();
        });
    }

private:
    /// The list that a value of a class's key is; null for other values.
    static TextList SimulatedClass::*filterList(const std::wstring& name)
    {
        if (equalIgnoringCase(name, kUpperFilters))
            return &SimulatedClass::upperFilters;
        return equalIgnoringCase(name, kLowerFilters) ? &SimulatedClass::lowerFilters : nullptr;
    }

    template<class Edit>
    Status edit(const std::wstring& name, Edit edit)
    {
        return m_system.change([&](DeviceTree& tree) {
            SimulatedClass* const setupClass = tree.setupClass(m_class);
            TextList SimulatedClass::*const list = filterList(name);
            if (!m_writable || setupClass == nullptr || list == nullptr)
                return Status(Failure{m_writable ? errors::kInvalidParameter : errors::kAccessDenied});
            return edit(setupClass->*list);
        });
    }

    Guid m_class;
    bool m_writable;
};

class SimulatedSearch final : public Simulated<FileSearch>
{
public:
    SimulatedSearch(SimulatedSystem& system, TextList names) : Simulated(system), m_names(std::move(names)) {}

    std::wstring fileName() const override { return m_names[m_current]; }
    Status next() override
    {
        if (const auto failure = m_system.fails("findNextFile"))
            return *failure;
        if (m_current + 1 >= m_names.size())
            return Failure{errors::kNoMoreFiles};
        ++m_current;
        return {};
    }

private:
    TextList m_names;
    std::size_t m_current = 0;
};

class SimulatedMachine final : public Simulated<ConnectedMachine>
{
public:
    using Simulated::Simulated;

    Outcome<DeviceNode> locateRoot() override
    {
        if (const auto failure = m_system.fails("locateRoot"))
            return *failure;
        return static_cast<DeviceNode>(1);
    }
    Status reenumerate(DeviceNode) override
    {
        const auto failure = m_system.fails("reenumerate");
        return failure ? Status(*failure) : Status();
    }
};

class SimulatedServices final : public Simulated<ServiceManager>
{
public:
    using Simulated::Simulated;

    Opened<PlatformObject> openService(const std::wstring& name) override
    {
        if (const auto failure = m_system.fails("openService"))
            return *failure;
        const TextList& services = m_system.tree().services;
        if (std::ranges::none_of(services, [&](const auto& each) { return equalIgnoringCase(each, name); }))
            return Failure{errors::kServiceDoesNotExist};
        return std::make_unique<Simulated<PlatformObject>>(m_system);
    }
};

class SimulatedToken final : public Simulated<ProcessToken>
{
public:
    using Simulated::Simulated;

    Status enablePrivilege(PrivilegeId) override
    {
        const auto failure = m_system.fails("enablePrivilege");
        return failure ? Status(*failure) : Status();
    }
};

} // namespace

GuidBatch SimulatedPlatform::classGuidsFromName(const std::wstring& name, std::uint32_t capacity,
                                                const MachineName& machine)
{
    return classGuids(m_system, "classGuidsFromName", &name, capacity, machine);
}

GuidBatch SimulatedPlatform::buildClassList(std::uint32_t capacity, const MachineName& machine)
{
    return classGuids(m_system, "buildClassList", nullptr, capacity, machine);
}

Outcome<std::wstring> SimulatedPlatform::className(const Guid& guid, const MachineName& machine)
{
    return classText(m_system, "className", guid, machine, &SimulatedClass::name, limits::kClassName);
}

Outcome<std::wstring> SimulatedPlatform::classDescription(const Guid& guid, const MachineName& machine)
{
    return classText(m_system, "classDescription", guid, machine, &SimulatedClass::description,
                     limits::kClassDescription);
}

Opened<RegistryKey> SimulatedPlatform::openClassKey(const Guid& guid, std::uint32_t access, const MachineName& machine)
{
    if (const auto failure = m_system.fails("openClassKey", access))
        return *failure;
    if (!m_system.reachable(machine) || tree().setupClass(guid) == nullptr)
        return Failure{errors::kInvalidClass};
    return std::make_unique<SimulatedKey>(m_system, guid, (access & kWriteAccess) != 0);
}

Opened<DeviceList> SimulatedPlatform::classDevices(const std::optional<Guid>& setupClass, std::uint32_t flags,
                                                   const MachineName& machine)
{
    if (const auto failure = m_system.fails("classDevices", flags))
        return *failure;
    if (!m_system.reachable(machine))
        return Failure{errors::kBadNetworkPath};
    auto list = std::make_unique<SimulatedDeviceList>(m_system, setupClass.value_or(Guid()));
    for (const SimulatedDevice& device : tree().devices)
        if ((!setupClass || device.setupClass == setupClass) && (device.present || (flags & kPresentOnly) == 0))
            list->list(device);
    return list;
}

Opened<DeviceList> SimulatedPlatform::emptyList(const std::optional<Guid>& setupClass, const MachineName& machine)
{
    if (const auto failure = m_system.fails("emptyList"))
        return *failure;
    if (!m_system.reachable(machine))
        return Failure{errors::kBadNetworkPath};
    return std::make_unique<SimulatedDeviceList>(m_system, setupClass.value_or(Guid()));
}

Opened<DeviceList> SimulatedPlatform::interfaceDevices(const Guid& interfaceClass, std::uint32_t flags)
{
    if (const auto failure = m_system.fails("interfaceDevices", guidText(interfaceClass), flags))
        return *failure;
    auto list = std::make_unique<SimulatedDeviceList>(m_system, Guid());
    for (const SimulatedDevice& device : tree().devices)
        for (const SimulatedInterface& each : device.interfaces)
            if (each.interfaceClass == interfaceClass && (active(device) || (flags & kPresentOnly) == 0))
                list->list(each);
    return list;
}

Outcome<InfClass> SimulatedPlatform::infClass(const std::wstring& infPath, std::size_t nameCapacity)
{
    if (const auto failure = m_system.fails("infClass"))
        return *failure;
    const auto file = readPackageFile(infPath);
    if (!file)
        return Failure{file.error()};
    if (file->package.className().size() >= nameCapacity)
        return Failure{errors::kInsufficientBuffer};
    return InfClass{file->package.setupClass(), file->package.className()};
}

Outcome<FullPath> SimulatedPlatform::copyOemInf(const std::wstring& infPath, std::size_t capacity)
{
    if (const auto failure = m_system.fails("copyOemInf"))
        return *failure;
    const auto file = readPackageFile(infPath);
    if (!file)
        return Failure{file.error()};
    std::wstring name;
    const Status stored = m_system.change([&](DeviceTree& tree) {
        name = storePackage(tree, file->bytes, infPath);
        return Status();
    });
    if (!stored)
        return Failure{stored.error()};
    FullPath result{kSimulatedInfFolder + name, name};
    if (result.path.size() >= capacity)
        return Failure{errors::kInsufficientBuffer};
    return result;
}

Outcome<std::wstring> SimulatedPlatform::originalInfName(const std::wstring& storedName)
{
    if (const auto failure = m_system.fails("originalInfName"))
        return *failure;
    const SimulatedPackage* const package = tree().package(storedName);
    if (package == nullptr)
        return Failure{errors::kFileNotFound};
    return package->originalName;
}

Outcome<FullPath> SimulatedPlatform::fullPath(const std::wstring& path, std::size_t capacity)
{
    if (const auto failure = m_system.fails("fullPath"))
        return *failure;
    const std::filesystem::path local = localFile(path);
    std::error_code error;
    const auto absolute = local.empty() ? std::filesystem::path() : std::filesystem::absolute(local, error);
    if (local.empty() || error)
        return Failure{errors::kInvalidName};
    const std::u8string text = absolute.lexically_normal().u8string();
    std::wstring full = fromUtf8(std::string(text.begin(), text.end()));
    if (full.size() >= capacity)
        return Failure{errors::kNameTooLong};
    std::wstring name(afterLast(full, L"/\\"));
    return FullPath{std::move(full), std::move(name)};
}

Outcome<std::wstring> SimulatedPlatform::windowsDirectory(std::size_t)
{
    if (const auto failure = m_system.fails("windowsDirectory"))
        return *failure;
    return std::wstring(kWindowsFolder);
}

Status SimulatedPlatform::fileExists(const std::wstring& path)
{
    if (const auto failure = m_system.fails("fileExists"))
        return *failure;
    std::error_code error;
    return std::filesystem::exists(localFile(path), error) ? Status() : Failure{errors::kFileNotFound};
}

Opened<FileSearch> SimulatedPlatform::findFiles(const std::wstring& pattern)
{
    if (const auto failure = m_system.fails("findFiles"))
        return *failure;
    TextList names;
    if (equalIgnoringCase(pattern, kSimulatedInfFolder + std::wstring(L"OEM*.INF")))
        for (const SimulatedPackage& package : tree().packages)
            names.push_back(package.name);
    if (names.empty())
        return Failure{errors::kFileNotFound};
    return std::make_unique<SimulatedSearch>(m_system, std::move(names));
}

Opened<ConnectedMachine> SimulatedPlatform::connectMachine(const MachineName& machine)
{
    if (machine.empty())
        return std::make_unique<SimulatedMachine>(m_system);
    if (const auto failure = m_system.fails("connectMachine"))
        return *failure;
    if (!m_system.reachable(machine))
        return Failure{configuration::kFailure};
    return std::make_unique<SimulatedMachine>(m_system);
}

Opened<ServiceManager> SimulatedPlatform::openServiceManager(const MachineName& machine)
{
    if (const auto failure = m_system.fails("openServiceManager"))
        return *failure;
    if (!m_system.reachable(machine))
        return Failure{errors::kBadNetworkPath};
    return std::make_unique<SimulatedServices>(m_system);
}

Outcome<std::wstring> SimulatedPlatform::loadText(std::uint32_t number, std::size_t capacity)
{
    if (const auto failure = m_system.fails("loadText"))
        return *failure;
    return loadedText(number, capacity);
}

Opened<ProcessToken> SimulatedPlatform::openProcessToken()
{
    if (const auto failure = m_system.fails("openProcessToken"))
        return *failure;
    return std::make_unique<SimulatedToken>(m_system);
}

Outcome<PrivilegeId> SimulatedPlatform::lookupPrivilege(const std::wstring& name)
{
    if (const auto failure = m_system.fails("lookupPrivilege", name))
        return *failure;
    if (name != L"SeShutdownPrivilege")
        return Failure{errors::kInvalidParameter};
    return static_cast<PrivilegeId>(19);
}

Status SimulatedPlatform::requestShutdown(const ShutdownRequest& request)
{
    if (const auto failure = m_system.fails("requestShutdown", request.timeoutSeconds, request.forceApplicationsClosed,
                                            request.reboot, request.reason))
        return *failure;
    ++m_system.restarts;
    return {};
}

} // namespace driver
