#include "driver/platform/simulated_device_list.h"

#include "driver/platform/inf_package.h"

#include <algorithm>

namespace driver {

namespace {

constexpr std::size_t kDetailHeader = 4; // bytes in front of the path in an interface's detail
constexpr std::uint32_t kNotInstalledProblem = 28;
constexpr std::uint32_t kNeedsReboot = 0x100;

Outcome<RegistryData> textData(const std::wstring& text)
{
    return text.empty() ? Outcome<RegistryData>(Failure{errors::kInvalidData}) : encodeText(text);
}

Outcome<RegistryData> listData(const TextList& list)
{
    return list.empty() ? Outcome<RegistryData>(Failure{errors::kInvalidData}) : encodeTextList(list);
}

std::wstring classNameOf(const SimulatedDevice& device, const DeviceTree& tree)
{
    const SimulatedClass* const known = device.setupClass ? tree.setupClass(*device.setupClass) : nullptr;
    return device.className.empty() && known != nullptr ? known->name : device.className;
}

/// The property as a list, which can be written too; null for one that is a text.
TextList SimulatedDevice::*listProperty(DeviceProperty property)
{
    switch (property) {
    case DeviceProperty::HardwareIds:
        return &SimulatedDevice::hardwareIds;
    case DeviceProperty::CompatibleIds:
        return &SimulatedDevice::compatibleIds;
    case DeviceProperty::UpperFilters:
        return &SimulatedDevice::upperFilters;
    case DeviceProperty::LowerFilters:
        return &SimulatedDevice::lowerFilters;
    default:
        return nullptr;
    }
}

std::wstring newDeviceId(const DeviceTree& tree, const std::wstring& className)
{
    for (unsigned number = 0;; ++number) {
        std::wstring digits = std::to_wstring(number);
        digits.insert(0, digits.size() < 4 ? 4 - digits.size() : 0, L'0');
        std::wstring id = L"ROOT\\" + className + L"\\" + digits;
        if (std::ranges::none_of(tree.devices, [&](const auto& each) { return equalIgnoringCase(each.id, id); }))
            return id;
    }
}

void changeState(SimulatedDevice& device, StateChange change)
{
    using namespace node_status;
    const bool disabled = (device.status.flags & kHasProblem) && device.status.problem == kProblemDisabled;
    if (change == StateChange::Disable)
        device.status = {(device.status.flags & ~kStarted) | kHasProblem, kProblemDisabled};
    else if (change == StateChange::Enable && disabled)
        device.status = {(device.status.flags & ~kHasProblem) | kStarted, 0};
}

class SimulatedResources final : public Simulated<LogicalConfiguration>
{
public:
    SimulatedResources(SimulatedSystem& system, std::vector<Resource> resources)
        : Simulated(system)
        , m_resources(std::move(resources))
    {}

    Outcome<Resource> next() override
    {
        if (const auto failure = m_system.fails("nextResource"))
            return *failure;
        if (m_next >= m_resources.size())
            return Failure{configuration::kNoMoreResources};
        return m_resources[m_next++];
    }

private:
    std::vector<Resource> m_resources;
    std::size_t m_next = 0;
};

class SimulatedDrivers final : public Simulated<DriverList>
{
public:
    SimulatedDrivers(SimulatedSystem& system, std::vector<SimulatedDriver> drivers)
        : Simulated(system)
        , m_drivers(std::move(drivers))
    {}

    Outcome<DriverInfo> at(std::uint32_t position) override
    {
        return read<DriverInfo>("driverAt", position, [](const SimulatedDriver& driver) {
            return DriverInfo{driver.description, driver.manufacturer, driver.provider, driver.version, driver.date};
        });
    }
    Outcome<DriverDetail> detail(std::uint32_t position) override
    {
        return read<DriverDetail>("driverDetail", position, [](const SimulatedDriver& driver) {
            return DriverDetail{kSimulatedInfFolder + driver.inf, driver.section};
        });
    }
    Outcome<TextList> files(std::uint32_t position) override
    {
        return read<TextList>("driverFiles", position, [](const SimulatedDriver& driver) { return driver.files; });
    }

private:
    template<class T, class Get>
    Outcome<T> read(const char* call, std::uint32_t position, Get get)
    {
        if (const auto failure = m_system.fails(call))
            return *failure;
        return position < m_drivers.size() ? Outcome<T>(get(m_drivers[position])) : Failure{errors::kNoMoreItems};
    }

    std::vector<SimulatedDriver> m_drivers;
};

std::vector<SimulatedDriver> driversFor(const SimulatedDevice& device, const DeviceTree& tree)
{
    TextList ids = device.hardwareIds;
    ids.insert(ids.end(), device.compatibleIds.begin(), device.compatibleIds.end());
    std::vector<SimulatedDriver> drivers;
    for (const SimulatedPackage& stored : tree.packages)
        if (const auto package = InfPackage::read(stored.text))
            if (const InfModel* model = package->modelFor(ids))
                drivers.push_back(package->driver(*model, stored.name));
    return drivers;
}

} // namespace

SimulatedDeviceList::Listed* SimulatedDeviceList::listed(DeviceIndex index)
{
    const auto position = static_cast<std::size_t>(index);
    return position < m_devices.size() ? &m_devices[position] : nullptr;
}

const SimulatedDevice* SimulatedDeviceList::device(DeviceIndex index)
{
    const Listed* const found = listed(index);
    if (found == nullptr)
        return nullptr;
    return found->created ? found->created.get() : m_system.tree().device(found->key);
}

Status SimulatedDeviceList::readDetail()
{
    const auto failure = m_system.fails("listDetail");
    return failure ? Status(*failure) : Status();
}

Outcome<DeviceIndex> SimulatedDeviceList::at(std::uint32_t position)
{
    if (const auto failure = m_system.fails("deviceAt"))
        return *failure;
    if (position >= m_devices.size())
        return Failure{errors::kNoMoreItems};
    return static_cast<DeviceIndex>(position);
}

Outcome<DeviceIndex> SimulatedDeviceList::open(const std::wstring& instanceId)
{
    if (const auto failure = m_system.fails("openDevice"))
        return *failure;
    for (const SimulatedDevice& device : m_system.tree().devices) {
        if (!equalIgnoringCase(device.id, instanceId))
            continue;
        if (m_class != Guid() && device.setupClass != m_class)
            return Failure{errors::kInvalidClass};
        const auto known = std::ranges::find(m_devices, device.key, &Listed::key);
        const auto index = static_cast<DeviceIndex>(known - m_devices.begin());
        if (known == m_devices.end())
            list(device);
        return index;
    }
    return Failure{errors::kNoSuchDevice};
}

Outcome<DeviceIndex> SimulatedDeviceList::create(const std::wstring& className, const Guid& setupClass)
{
    if (const auto failure = m_system.fails("createDevice", className))
        return *failure;
    auto device = std::make_unique<SimulatedDevice>();
    device->id = newDeviceId(m_system.tree(), className);
    device->setupClass = setupClass;
    device->className = className;
    device->status = {node_status::kRootEnumerated | node_status::kHasProblem, kNotInstalledProblem};
    m_devices.push_back({0, std::move(device), {}, 0});
    return static_cast<DeviceIndex>(m_devices.size() - 1);
}

Outcome<RegistryData> SimulatedDeviceList::property(DeviceIndex index, DeviceProperty property)
{
    if (const auto failure = m_system.fails("deviceProperty"))
        return *failure;
    const SimulatedDevice* const found = device(index);
    if (found == nullptr)
        return Failure{errors::kNoSuchDevice};
    if (TextList SimulatedDevice::*const list = listProperty(property))
        return listData(found->*list);
    switch (property) {
    case DeviceProperty::Description:
        return textData(found->description);
    case DeviceProperty::Service:
        return textData(found->service);
    case DeviceProperty::ClassName:
        return textData(classNameOf(*found, m_system.tree()));
    case DeviceProperty::ClassGuid:
        return textData(found->setupClass ? guidText(*found->setupClass) : std::wstring());
    default:
        return Failure{errors::kInvalidData};
    }
}

Status SimulatedDeviceList::setProperty(DeviceIndex index, DeviceProperty property,
                                        const std::optional<RegistryData>& data)
{
    if (const auto failure = m_system.fails("setDeviceProperty", L"type " + std::to_wstring(data ? data->type : 0),
                                            std::to_wstring(data ? data->bytes.size() : 0) + L" bytes"))
        return *failure;
    Listed* const found = listed(index);
    const auto write = [&](SimulatedDevice* device) {
        TextList SimulatedDevice::*const list = listProperty(property);
        if (device == nullptr || list == nullptr)
            return Status(Failure{device == nullptr ? errors::kNoSuchDevice : errors::kInvalidParameter});
        device->*list = data ? decodeTextList(*data) : TextList();
        return Status();
    };
    if (found == nullptr)
        return Failure{errors::kNoSuchDevice};
    if (found->created)
        return write(found->created.get());
    return m_system.change([&](DeviceTree& tree) { return write(tree.device(found->key)); });
}

Outcome<std::wstring> SimulatedDeviceList::id(DeviceIndex index, std::size_t capacity)
{
    if (const auto failure = m_system.fails("deviceId"))
        return *failure;
    const SimulatedDevice* const found = device(index);
    if (found == nullptr || found->unreadableId)
        return Failure{configuration::kNoSuchDevice};
    if (found->id.size() >= capacity)
        return Failure{configuration::kBufferTooSmall};
    return found->id;
}

Outcome<NodeStatus> SimulatedDeviceList::status(DeviceIndex index)
{
    if (const auto failure = m_system.fails("deviceStatus"))
        return *failure;
    const SimulatedDevice* const found = device(index);
    if (found == nullptr || !found->present)
        return Failure{configuration::kNoSuchDevice};
    if (found->statusError != 0)
        return Failure{configuration::error(found->statusError)};
    return found->status;
}

Opened<LogicalConfiguration> SimulatedDeviceList::openConfiguration(DeviceIndex index, ConfigurationKind kind)
{
    if (const auto failure = m_system.fails("openConfiguration"))
        return *failure;
    const SimulatedDevice* const found = device(index);
    if (found == nullptr)
        return Failure{configuration::kNoSuchDevice};
    const auto& resources = kind == ConfigurationKind::Allocated ? found->allocated : found->boot;
    if (!resources)
        return Failure{configuration::kNoMoreLogicalConfigurations};
    return std::make_unique<SimulatedResources>(m_system, *resources);
}

Opened<DriverList> SimulatedDeviceList::buildDriverList(DeviceIndex index, DriverListKind kind)
{
    if (const auto failure = m_system.fails("buildDriverList"))
        return *failure;
    const SimulatedDevice* const found = device(index);
    if (found == nullptr)
        return Failure{errors::kNoSuchDevice};
    std::vector<SimulatedDriver> drivers;
    if (kind == DriverListKind::Compatible)
        drivers = driversFor(*found, m_system.tree());
    else if (found->driver)
        drivers.push_back(*found->driver);
    return std::make_unique<SimulatedDrivers>(m_system, std::move(drivers));
}

Status SimulatedDeviceList::setPending(DeviceIndex index, PendingChange change)
{
    Listed* const found = listed(index);
    if (found == nullptr)
        return Failure{errors::kNoSuchDevice};
    found->pending = change;
    return {};
}

Status SimulatedDeviceList::setStateChange(DeviceIndex index, StateChange change, std::uint32_t scope)
{
    if (const auto failure = m_system.fails("setStateChange", change, scope))
        return *failure;
    return setPending(index, change);
}

Status SimulatedDeviceList::setRemoval(DeviceIndex index, std::uint32_t scope)
{
    if (const auto failure = m_system.fails("setRemoval", scope))
        return *failure;
    return setPending(index, InstallFunction::Remove);
}

Status SimulatedDeviceList::registerDevice(Listed& device)
{
    if (!device.created)
        return Failure{errors::kInvalidParameter};
    const Status stored = m_system.change([&](DeviceTree& tree) {
        device.key = tree.add(*device.created).key;
        return Status();
    });
    if (stored)
        device.created.reset();
    return stored;
}

Status SimulatedDeviceList::callClassInstaller(InstallFunction function, DeviceIndex index)
{
    if (const auto failure = m_system.fails("callClassInstaller", function))
        return *failure;
    Listed* const found = listed(index);
    if (found == nullptr)
        return Failure{errors::kNoSuchDevice};
    if (function == InstallFunction::RegisterDevice)
        return registerDevice(*found);
    const SimulatedDevice* const device = m_system.tree().device(found->key);
    if (found->created || device == nullptr)
        return Failure{errors::kNoSuchDevice};
    if (device->refusesChanges)
        return Failure{errors::kNotDisableable};
    const StateChange* const state = std::get_if<StateChange>(&found->pending);
    if ((function == InstallFunction::PropertyChange) != (state != nullptr))
        return Failure{errors::kInvalidParameter};
    const bool reboot = device->rebootAfterChange;
    const Status changed = m_system.change([&](DeviceTree& tree) {
        if (state != nullptr)
            changeState(*tree.device(found->key), *state);
        else
            tree.remove(found->key);
        return Status();
    });
    if (changed && reboot)
        found->installFlags |= kNeedsReboot;
    return changed;
}

Outcome<std::uint32_t> SimulatedDeviceList::installFlags(DeviceIndex index)
{
    if (const auto failure = m_system.fails("installFlags"))
        return *failure;
    const Listed* const found = listed(index);
    return found == nullptr ? Outcome<std::uint32_t>(Failure{errors::kNoSuchDevice}) : found->installFlags;
}

Outcome<InterfaceIndex> SimulatedDeviceList::interfaceAt(const Guid&, std::uint32_t position)
{
    if (const auto failure = m_system.fails("interfaceAt"))
        return *failure;
    if (position >= m_interfaces.size())
        return Failure{errors::kNoMoreItems};
    return static_cast<InterfaceIndex>(position);
}

Outcome<std::wstring> SimulatedDeviceList::interfacePath(InterfaceIndex position, std::size_t bufferBytes)
{
    if (const auto failure = m_system.fails("interfacePath"))
        return *failure;
    const auto index = static_cast<std::size_t>(position);
    if (index >= m_interfaces.size())
        return Failure{errors::kInvalidParameter};
    if (kDetailHeader + 2 * (toUtf16(m_interfaces[index].path).size() + 1) > bufferBytes)
        return Failure{errors::kInsufficientBuffer};
    return m_interfaces[index].path;
}

} // namespace driver
