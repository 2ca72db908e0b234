// The simulated system's device lists: what they hold and what can be read of a device.
#include "driver/platform/inf_package.h"
#include "driver/platform/simulated_objects.h"
#include "driver/platform/simulated_platform.h"
#include "driver/text.h"

#include <algorithm>

namespace driver {

namespace {

constexpr std::uint32_t kPresentOnly = 2;
constexpr std::size_t kDetailHeader = 4; // bytes in front of the path in an interface's detail

Outcome<RegistryData> textData(const std::wstring& text)
{
    return text.empty() ? Outcome<RegistryData>::failed(errors::kInvalidData) : encodeText(text);
}

Outcome<RegistryData> listData(const TextList& list)
{
    return list.empty() ? Outcome<RegistryData>::failed(errors::kInvalidData) : encodeTextList(list);
}

std::wstring classNameOf(const SimulatedDevice& device, const DeviceTree& tree)
{
    const SimulatedClass* const known = device.setupClass ? tree.setupClass(*device.setupClass) : nullptr;
    return device.className.empty() && known != nullptr ? known->name : device.className;
}

/// The lists that can be written; null for every other property.
TextList* listProperty(SimulatedDevice& device, DeviceProperty property)
{
    switch (property) {
    case DeviceProperty::HardwareIds:
        return &device.hardwareIds;
    case DeviceProperty::CompatibleIds:
        return &device.compatibleIds;
    case DeviceProperty::UpperFilters:
        return &device.upperFilters;
    case DeviceProperty::LowerFilters:
        return &device.lowerFilters;
    default:
        return nullptr;
    }
}

bool active(const SimulatedDevice& device)
{
    return device.present && (device.status.flags & node_status::kStarted) != 0;
}

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

ListedDevice* DeviceListState::at(DeviceIndex index)
{
    const auto position = static_cast<std::size_t>(index);
    return position < devices.size() ? &devices[position] : nullptr;
}

const SimulatedDevice* DeviceListState::device(DeviceIndex index, const DeviceTree& tree)
{
    const ListedDevice* const listed = at(index);
    if (listed == nullptr)
        return nullptr;
    return listed->created ? &*listed->created : tree.device(listed->key);
}

Opened<DeviceList> SimulatedPlatform::classDevices(const std::optional<Guid>& setupClass, std::uint32_t flags,
                                                   const MachineName& machine)
{
    if (!reachable(machine))
        return Opened<DeviceList>::failed(errors::kBadNetworkPath);
    DeviceListState state{setupClass.value_or(Guid()), !machine.empty(), {}, {}};
    for (const SimulatedDevice& device : m_tree.devices)
        if ((!setupClass || device.setupClass == setupClass) && (device.present || (flags & kPresentOnly) == 0))
            state.devices.push_back({device.key, {}, {}, 0, 0});
    return simulated<DeviceList>(m_openObjects, std::move(state));
}

Opened<DeviceList> SimulatedPlatform::emptyList(const std::optional<Guid>& setupClass, const MachineName& machine)
{
    if (!reachable(machine))
        return Opened<DeviceList>::failed(errors::kBadNetworkPath);
    return simulated<DeviceList>(m_openObjects, DeviceListState{setupClass.value_or(Guid()), !machine.empty(), {}, {}});
}

Outcome<DeviceIndex> SimulatedPlatform::openDevice(DeviceList& list, const std::wstring& instanceId)
{
    auto& state = stateOf<DeviceListState>(list);
    for (const SimulatedDevice& device : m_tree.devices) {
        if (!equalIgnoringCase(device.id, instanceId))
            continue;
        if (state.setupClass != Guid() && device.setupClass != state.setupClass)
            return Outcome<DeviceIndex>::failed(errors::kInvalidClass);
        const auto known = std::ranges::find(state.devices, device.key, &ListedDevice::key);
        const auto index = static_cast<DeviceIndex>(known - state.devices.begin());
        if (known == state.devices.end())
            state.devices.push_back({device.key, {}, {}, 0, 0});
        return index;
    }
    return Outcome<DeviceIndex>::failed(errors::kNoSuchDevice);
}

Outcome<ListDetail> SimulatedPlatform::listDetail(DeviceList& list)
{
    const auto& state = stateOf<DeviceListState>(list);
    return ListDetail{state.setupClass, static_cast<MachineHandle>(state.remote ? 1 : 0)};
}

Outcome<DeviceIndex> SimulatedPlatform::deviceAt(DeviceList& list, std::uint32_t position)
{
    if (position >= stateOf<DeviceListState>(list).devices.size())
        return Outcome<DeviceIndex>::failed(errors::kNoMoreItems);
    return static_cast<DeviceIndex>(position);
}

Outcome<RegistryData> SimulatedPlatform::deviceProperty(DeviceList& list, DeviceIndex index, DeviceProperty property)
{
    const SimulatedDevice* const device = stateOf<DeviceListState>(list).device(index, m_tree);
    if (device == nullptr)
        return Outcome<RegistryData>::failed(errors::kNoSuchDevice);
    switch (property) {
    case DeviceProperty::Description:
        return textData(device->description);
    case DeviceProperty::HardwareIds:
        return listData(device->hardwareIds);
    case DeviceProperty::CompatibleIds:
        return listData(device->compatibleIds);
    case DeviceProperty::Service:
        return textData(device->service);
    case DeviceProperty::ClassName:
        return textData(classNameOf(*device, m_tree));
    case DeviceProperty::ClassGuid:
        return textData(device->setupClass ? guidText(*device->setupClass) : std::wstring());
    case DeviceProperty::UpperFilters:
        return listData(device->upperFilters);
    case DeviceProperty::LowerFilters:
        return listData(device->lowerFilters);
    }
    return Outcome<RegistryData>::failed(errors::kInvalidData);
}

Status SimulatedPlatform::setDeviceProperty(DeviceList& list, DeviceIndex index, DeviceProperty property,
                                            const std::optional<RegistryData>& data)
{
    ListedDevice* const listed = stateOf<DeviceListState>(list).at(index);
    const auto write = [&](SimulatedDevice* device) {
        TextList* const field = device == nullptr ? nullptr : listProperty(*device, property);
        if (field == nullptr)
            return Status::failed(device == nullptr ? errors::kNoSuchDevice : errors::kInvalidParameter);
        *field = data ? decodeTextList(*data) : TextList();
        return Status();
    };
    if (listed == nullptr)
        return Status::failed(errors::kNoSuchDevice);
    if (listed->created)
        return write(&*listed->created);
    return change([&](DeviceTree& tree) { return write(tree.device(listed->key)); });
}

Outcome<std::wstring> SimulatedPlatform::deviceId(DeviceList& list, DeviceIndex index, std::size_t capacity,
                                                  MachineHandle)
{
    const SimulatedDevice* const device = stateOf<DeviceListState>(list).device(index, m_tree);
    if (device == nullptr || device->unreadableId)
        return Outcome<std::wstring>::failed(configuration::kNoSuchDevice);
    if (device->id.size() >= capacity)
        return Outcome<std::wstring>::failed(configuration::kBufferTooSmall);
    return device->id;
}

Outcome<NodeStatus> SimulatedPlatform::deviceStatus(DeviceList& list, DeviceIndex index, MachineHandle)
{
    const SimulatedDevice* const device = stateOf<DeviceListState>(list).device(index, m_tree);
    if (device == nullptr || !device->present)
        return Outcome<NodeStatus>::failed(configuration::kNoSuchDevice);
    if (device->statusError != 0)
        return Outcome<NodeStatus>::failed(device->statusError);
    return device->status;
}

Opened<LogicalConfiguration> SimulatedPlatform::openConfiguration(DeviceList& list, DeviceIndex index,
                                                                  ConfigurationKind kind, MachineHandle)
{
    const SimulatedDevice* const device = stateOf<DeviceListState>(list).device(index, m_tree);
    if (device == nullptr)
        return Opened<LogicalConfiguration>::failed(configuration::kNoSuchDevice);
    const auto& resources = kind == ConfigurationKind::Allocated ? device->allocated : device->boot;
    if (!resources)
        return Opened<LogicalConfiguration>::failed(configuration::kNoMoreLogicalConfigurations);
    return simulated<LogicalConfiguration>(m_openObjects, ResourcesState{*resources, 0});
}

Outcome<Resource> SimulatedPlatform::nextResource(LogicalConfiguration& open)
{
    auto& state = stateOf<ResourcesState>(open);
    if (state.next >= state.resources.size())
        return Outcome<Resource>::failed(configuration::kNoMoreResources);
    return state.resources[state.next++];
}

Opened<DriverList> SimulatedPlatform::buildDriverList(DeviceList& list, DeviceIndex index, DriverListKind kind)
{
    const SimulatedDevice* const device = stateOf<DeviceListState>(list).device(index, m_tree);
    if (device == nullptr)
        return Opened<DriverList>::failed(errors::kNoSuchDevice);
    DriverListState state;
    if (kind == DriverListKind::Compatible)
        state.drivers = driversFor(*device, m_tree);
    else if (device->driver)
        state.drivers.push_back(*device->driver);
    return simulated<DriverList>(m_openObjects, std::move(state));
}

Outcome<DriverInfo> SimulatedPlatform::driverAt(DriverList& drivers, std::uint32_t position)
{
    const auto& state = stateOf<DriverListState>(drivers);
    if (position >= state.drivers.size())
        return Outcome<DriverInfo>::failed(errors::kNoMoreItems);
    const SimulatedDriver& driver = state.drivers[position];
    return DriverInfo{driver.description, driver.manufacturer, driver.provider, driver.version, driver.date};
}

Outcome<DriverDetail> SimulatedPlatform::driverDetail(DriverList& drivers, std::uint32_t position)
{
    const auto& state = stateOf<DriverListState>(drivers);
    if (position >= state.drivers.size())
        return Outcome<DriverDetail>::failed(errors::kNoMoreItems);
    return DriverDetail{kSimulatedInfFolder + state.drivers[position].inf, state.drivers[position].section};
}

Outcome<TextList> SimulatedPlatform::driverFiles(DriverList& drivers, std::uint32_t position)
{
    const auto& state = stateOf<DriverListState>(drivers);
    if (position >= state.drivers.size())
        return Outcome<TextList>::failed(errors::kNoMoreItems);
    return state.drivers[position].files;
}

Opened<DeviceList> SimulatedPlatform::interfaceDevices(const Guid& interfaceClass, std::uint32_t flags)
{
    DeviceListState state;
    for (const SimulatedDevice& device : m_tree.devices)
        for (const SimulatedInterface& each : device.interfaces)
            if (each.interfaceClass == interfaceClass && (active(device) || (flags & kPresentOnly) == 0))
                state.interfaces.push_back(each);
    return simulated<DeviceList>(m_openObjects, std::move(state));
}

Outcome<InterfaceIndex> SimulatedPlatform::interfaceAt(DeviceList& list, const Guid&, std::uint32_t position)
{
    if (position >= stateOf<DeviceListState>(list).interfaces.size())
        return Outcome<InterfaceIndex>::failed(errors::kNoMoreItems);
    return static_cast<InterfaceIndex>(position);
}

Outcome<std::wstring> SimulatedPlatform::interfacePath(DeviceList& list, InterfaceIndex position,
                                                       std::size_t bufferBytes)
{
    const auto& interfaces = stateOf<DeviceListState>(list).interfaces;
    const auto index = static_cast<std::size_t>(position);
    if (index >= interfaces.size())
        return Outcome<std::wstring>::failed(errors::kInvalidParameter);
    if (kDetailHeader + 2 * (toUtf16(interfaces[index].path).size() + 1) > bufferBytes)
        return Outcome<std::wstring>::failed(errors::kInsufficientBuffer);
    return interfaces[index].path;
}

} // namespace driver
