#include "driver/platform/setupapi_device_list.h"

#include "driver/platform/setupapi_drivers.h"
#include "driver/platform/setupapi_resources.h"
#include "driver/platform/setupapi_values.h"

#include <algorithm>

namespace driver {

namespace {

DWORD propertyNumber(DeviceProperty property)
{
    switch (property) {
    case DeviceProperty::Description:
        return SPDRP_DEVICEDESC;
    case DeviceProperty::HardwareIds:
        return SPDRP_HARDWAREID;
    case DeviceProperty::CompatibleIds:
        return SPDRP_COMPATIBLEIDS;
    case DeviceProperty::Service:
        return SPDRP_SERVICE;
    case DeviceProperty::ClassName:
        return SPDRP_CLASS;
    case DeviceProperty::ClassGuid:
        return SPDRP_CLASSGUID;
    case DeviceProperty::UpperFilters:
        return SPDRP_UPPERFILTERS;
    case DeviceProperty::LowerFilters:
        return SPDRP_LOWERFILTERS;
    }
    return SPDRP_DEVICEDESC;
}

HMACHINE handleOf(MachineHandle machine)
{
    return reinterpret_cast<HMACHINE>(machine);
}

// The plain functions for this machine: Wine has no working ones that take a machine.

CONFIGRET idOf(DEVINST node, wchar_t* buffer, ULONG length, HMACHINE machine)
{
    return machine == nullptr ? CM_Get_Device_IDW(node, buffer, length, 0)
                              : CM_Get_Device_ID_ExW(node, buffer, length, 0, machine);
}

CONFIGRET statusOfNode(ULONG* flags, ULONG* problem, DEVINST node, HMACHINE machine)
{
    return machine == nullptr ? CM_Get_DevNode_Status(flags, problem, node, 0)
                              : CM_Get_DevNode_Status_Ex(flags, problem, node, 0, machine);
}

/// Class-install parameters of one kind; their header says how large it is without them and what they are for.
template<class Parameters>
Parameters parametersFor(DI_FUNCTION function)
{
    Parameters parameters{};
    parameters.ClassInstallHeader.cbSize = sizeof(parameters.ClassInstallHeader);
    parameters.ClassInstallHeader.InstallFunction = function;
    return parameters;
}

} // namespace

Opened<DeviceList> SetupDeviceList::of(HDEVINFO handle)
{
    if (handle == INVALID_HANDLE_VALUE)
        return lastFailure();
    return std::make_unique<SetupDeviceList>(handle);
}

DeviceIndex SetupDeviceList::add(const SP_DEVINFO_DATA& device)
{
    m_devices.push_back(device);
    return static_cast<DeviceIndex>(m_devices.size() - 1);
}

Outcome<ListDetail> SetupDeviceList::detail()
{
    auto detail = sized<SP_DEVINFO_LIST_DETAIL_DATA_W>();
    if (!SetupDiGetDeviceInfoListDetailW(m_set.get(), &detail))
        return lastFailure();
    return ListDetail{guidOf(detail.ClassGuid),
                      static_cast<MachineHandle>(reinterpret_cast<std::uintptr_t>(detail.RemoteMachineHandle))};
}

Outcome<DeviceIndex> SetupDeviceList::at(std::uint32_t position)
{
    auto data = sized<SP_DEVINFO_DATA>();
    if (!SetupDiEnumDeviceInfo(m_set.get(), position, &data))
        return lastFailure();
    return add(data);
}

Outcome<DeviceIndex> SetupDeviceList::open(const std::wstring& instanceId)
{
    auto data = sized<SP_DEVINFO_DATA>();
    if (!SetupDiOpenDeviceInfoW(m_set.get(), instanceId.c_str(), nullptr, 0, &data))
        return lastFailure();
    return add(data);
}

Outcome<DeviceIndex> SetupDeviceList::create(const std::wstring& className, const Guid& setupClass)
{
    const GUID guid = systemGuid(setupClass);
    auto data = sized<SP_DEVINFO_DATA>();
    if (!SetupDiCreateDeviceInfoW(m_set.get(), className.c_str(), &guid, nullptr, nullptr, DICD_GENERATE_ID, &data))
        return lastFailure();
    return add(data);
}

Outcome<RegistryData> SetupDeviceList::property(DeviceIndex device, DeviceProperty property)
{
    RegistryData result{0, std::vector<std::uint8_t>(512)};
    for (;;) {
        DWORD type = 0;
        DWORD size = 0;
        if (SetupDiGetDeviceRegistryPropertyW(m_set.get(), data(device), propertyNumber(property), &type,
                                              result.bytes.data(), static_cast<DWORD>(result.bytes.size()), &size)) {
            result.type = type;
            result.bytes.resize(std::min<std::size_t>(size, result.bytes.size()));
            return result;
        }
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER || size <= result.bytes.size())
            return lastFailure();
        result.bytes.resize(size);
    }
}

Status SetupDeviceList::setProperty(DeviceIndex device, DeviceProperty property,
                                    const std::optional<RegistryData>& value)
{
    return statusOf(SetupDiSetDeviceRegistryPropertyW(m_set.get(), data(device), propertyNumber(property),
                                                      value ? value->bytes.data() : nullptr,
                                                      value ? static_cast<DWORD>(value->bytes.size()) : 0));
}

Outcome<std::wstring> SetupDeviceList::id(DeviceIndex device, std::size_t capacity, MachineHandle machine)
{
    // One character more than is asked for: an id that fills the buffer comes without its NUL.
    std::vector<wchar_t> buffer(capacity + 1);
    const CONFIGRET result = idOf(node(device), buffer.data(), static_cast<ULONG>(capacity), handleOf(machine));
    if (result != CR_SUCCESS)
        return configurationFailure(result);
    std::wstring id(buffer.data());
    return id.size() < capacity ? Outcome<std::wstring>(std::move(id)) : configurationFailure(CR_BUFFER_SMALL);
}

Outcome<NodeStatus> SetupDeviceList::status(DeviceIndex device, MachineHandle machine)
{
    ULONG flags = 0;
    ULONG problem = 0;
    const CONFIGRET result = statusOfNode(&flags, &problem, node(device), handleOf(machine));
    if (result != CR_SUCCESS)
        return configurationFailure(result);
    return NodeStatus{static_cast<std::uint32_t>(flags), static_cast<std::uint32_t>(problem)};
}

Opened<LogicalConfiguration> SetupDeviceList::openConfiguration(DeviceIndex device, ConfigurationKind kind,
                                                                MachineHandle machine)
{
    return openSetupConfiguration(node(device), kind, handleOf(machine));
}

Opened<DriverList> SetupDeviceList::buildDriverList(DeviceIndex device, DriverListKind kind)
{
    return buildSetupDriverList(m_set.get(), data(device), kind);
}

Status SetupDeviceList::setStateChange(DeviceIndex device, StateChange change, std::uint32_t scope)
{
    auto parameters = parametersFor<SP_PROPCHANGE_PARAMS>(DIF_PROPERTYCHANGE);
    parameters.StateChange = static_cast<DWORD>(change);
    parameters.Scope = scope;
    return statusOf(
        SetupDiSetClassInstallParamsW(m_set.get(), data(device), &parameters.ClassInstallHeader, sizeof(parameters)));
}

Status SetupDeviceList::setRemoval(DeviceIndex device, std::uint32_t scope)
{
    auto parameters = parametersFor<SP_REMOVEDEVICE_PARAMS>(DIF_REMOVE);
    parameters.Scope = scope;
    return statusOf(
        SetupDiSetClassInstallParamsW(m_set.get(), data(device), &parameters.ClassInstallHeader, sizeof(parameters)));
}

Status SetupDeviceList::callClassInstaller(InstallFunction function, DeviceIndex device)
{
    return statusOf(SetupDiCallClassInstaller(static_cast<DI_FUNCTION>(function), m_set.get(), data(device)));
}

Outcome<std::uint32_t> SetupDeviceList::installFlags(DeviceIndex device)
{
    auto parameters = sized<SP_DEVINSTALL_PARAMS_W>();
    if (!SetupDiGetDeviceInstallParamsW(m_set.get(), data(device), &parameters))
        return lastFailure();
    return static_cast<std::uint32_t>(parameters.Flags);
}

Outcome<InterfaceIndex> SetupDeviceList::interfaceAt(const Guid& interfaceClass, std::uint32_t position)
{
    const GUID guid = systemGuid(interfaceClass);
    auto data = sized<SP_DEVICE_INTERFACE_DATA>();
    if (!SetupDiEnumDeviceInterfaces(m_set.get(), nullptr, &guid, position, &data))
        return lastFailure();
    m_interfaces.push_back(data);
    return static_cast<InterfaceIndex>(m_interfaces.size() - 1);
}

Outcome<std::wstring> SetupDeviceList::interfacePath(InterfaceIndex position, std::size_t bufferBytes)
{
    std::vector<std::uint64_t> buffer((bufferBytes + 7) / 8); // aligned for the structure
    auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    detail->cbSize = sizeof(*detail);
    if (!SetupDiGetDeviceInterfaceDetailW(m_set.get(), &m_interfaces.at(static_cast<std::size_t>(position)), detail,
                                          static_cast<DWORD>(bufferBytes), nullptr, nullptr))
        return lastFailure();
    return std::wstring(detail->DevicePath);
}

} // namespace driver
