#include "driver/platform/setupapi_objects.h"
#include "driver/platform/setupapi_values.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <vector>

namespace driver {

namespace {

/// In the order of DeviceProperty.
constexpr DWORD kPropertyNumbers[] = {SPDRP_DEVICEDESC, SPDRP_HARDWAREID, SPDRP_COMPATIBLEIDS, SPDRP_SERVICE,
                                      SPDRP_CLASS,      SPDRP_CLASSGUID,  SPDRP_UPPERFILTERS,  SPDRP_LOWERFILTERS};
static_assert(std::size(kPropertyNumbers) == static_cast<std::size_t>(DeviceProperty::LowerFilters) + 1);

DWORD propertyNumber(DeviceProperty property)
{
    return kPropertyNumbers[static_cast<std::size_t>(property)];
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

class SetupDeviceList final : public DeviceList
{
public:
    explicit SetupDeviceList(HDEVINFO handle) : m_set(handle) {}

    Status readDetail() override
    {
        auto detail = sized<SP_DEVINFO_LIST_DETAIL_DATA_W>();
        if (!SetupDiGetDeviceInfoListDetailW(m_set.get(), &detail))
            return lastFailure();
        m_machine = detail.RemoteMachineHandle;
        return {};
    }

    Outcome<DeviceIndex> at(std::uint32_t position) override
    {
        auto data = sized<SP_DEVINFO_DATA>();
        if (!SetupDiEnumDeviceInfo(m_set.get(), position, &data))
            return lastFailure();
        return add(data);
    }

    Outcome<DeviceIndex> open(const std::wstring& instanceId) override
    {
        auto data = sized<SP_DEVINFO_DATA>();
        if (!SetupDiOpenDeviceInfoW(m_set.get(), instanceId.c_str(), nullptr, 0, &data))
            return lastFailure();
        return add(data);
    }

    Outcome<DeviceIndex> create(const std::wstring& className, const Guid& setupClass) override
    {
        const GUID guid = systemGuid(setupClass);
        auto data = sized<SP_DEVINFO_DATA>();
        if (!SetupDiCreateDeviceInfoW(m_set.get(), className.c_str(), &guid, nullptr, nullptr, DICD_GENERATE_ID, &data))
            return lastFailure();
        return add(data);
    }

    Outcome<RegistryData> property(DeviceIndex device, DeviceProperty property) override
    {
        return readData(ERROR_INSUFFICIENT_BUFFER, [&](std::uint8_t* bytes, DWORD* type, DWORD* size) {
            return statusOf(SetupDiGetDeviceRegistryPropertyW(m_set.get(), data(device), propertyNumber(property), type,
                                                              bytes, *size, size))
                .error();
        });
    }

    Status setProperty(DeviceIndex device, DeviceProperty property, const std::optional<RegistryData>& value) override
    {
        return statusOf(SetupDiSetDeviceRegistryPropertyW(m_set.get(), data(device), propertyNumber(property),
                                                          value ? value->bytes.data() : nullptr,
                                                          value ? static_cast<DWORD>(value->bytes.size()) : 0));
    }

    Outcome<std::wstring> id(DeviceIndex device, std::size_t capacity) override
    {
        // One character more than is asked for: an id that fills the buffer comes without its NUL.
        std::vector<wchar_t> buffer(capacity + 1);
        const CONFIGRET result = idOf(node(device), buffer.data(), static_cast<ULONG>(capacity), m_machine);
        if (result != CR_SUCCESS)
            return configurationFailure(result);
        std::wstring id(buffer.data());
        return id.size() < capacity ? Outcome<std::wstring>(std::move(id)) : configurationFailure(CR_BUFFER_SMALL);
    }

    Outcome<NodeStatus> status(DeviceIndex device) override
    {
        ULONG flags = 0;
        ULONG problem = 0;
        const CONFIGRET result = statusOfNode(&flags, &problem, node(device), m_machine);
        if (result != CR_SUCCESS)
            return configurationFailure(result);
        return NodeStatus{static_cast<std::uint32_t>(flags), static_cast<std::uint32_t>(problem)};
    }

    Opened<LogicalConfiguration> openConfiguration(DeviceIndex device, ConfigurationKind kind) override
    {
        return openSetupConfiguration(node(device), kind, m_machine);
    }

    Opened<DriverList> buildDriverList(DeviceIndex device, DriverListKind kind) override
    {
        return buildSetupDriverList(m_set.get(), data(device), kind);
    }

    Status setStateChange(DeviceIndex device, StateChange change, std::uint32_t scope) override
    {
        auto parameters = parametersFor<SP_PROPCHANGE_PARAMS>(DIF_PROPERTYCHANGE);
        parameters.StateChange = static_cast<DWORD>(change);
        parameters.Scope = scope;
        return statusOf(SetupDiSetClassInstallParamsW(m_set.get(), data(device), &parameters.ClassInstallHeader,
                                                      sizeof(parameters)));
    }

    Status setRemoval(DeviceIndex device, std::uint32_t scope) override
    {
        auto parameters = parametersFor<SP_REMOVEDEVICE_PARAMS>(DIF_REMOVE);
        parameters.Scope = scope;
        return statusOf(SetupDiSetClassInstallParamsW(m_set.get(), data(device), &parameters.ClassInstallHeader,
                                                      sizeof(parameters)));
    }

    Status callClassInstaller(InstallFunction function, DeviceIndex device) override
    {
        return statusOf(SetupDiCallClassInstaller(static_cast<DI_FUNCTION>(function), m_set.get(), data(device)));
    }

    Outcome<std::uint32_t> installFlags(DeviceIndex device) override
    {
        auto parameters = sized<SP_DEVINSTALL_PARAMS_W>();
        if (!SetupDiGetDeviceInstallParamsW(m_set.get(), data(device), &parameters))
            return lastFailure();
        return static_cast<std::uint32_t>(parameters.Flags);
    }

    Outcome<InterfaceIndex> interfaceAt(const Guid& interfaceClass, std::uint32_t position) override
    {
        const GUID guid = systemGuid(interfaceClass);
        auto data = sized<SP_DEVICE_INTERFACE_DATA>();
        if (!SetupDiEnumDeviceInterfaces(m_set.get(), nullptr, &guid, position, &data))
            return lastFailure();
        m_interfaces.push_back(data);
        return static_cast<InterfaceIndex>(m_interfaces.size() - 1);
    }

    Outcome<std::wstring> interfacePath(InterfaceIndex position, std::size_t bufferBytes) override
    {
        std::vector<std::uint64_t> buffer((bufferBytes + 7) / 8); // aligned for the structure
        auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
        detail->cbSize = sizeof(*detail);
        if (!SetupDiGetDeviceInterfaceDetailW(m_set.get(), &m_interfaces.at(static_cast<std::size_t>(position)), detail,
                                              static_cast<DWORD>(bufferBytes), nullptr, nullptr))
            return lastFailure();
        return std::wstring(detail->DevicePath);
    }

private:
    DeviceIndex add(const SP_DEVINFO_DATA& device)
    {
        m_devices.push_back(device);
        return static_cast<DeviceIndex>(m_devices.size() - 1);
    }

    SP_DEVINFO_DATA* data(DeviceIndex device) { return &m_devices.at(static_cast<std::size_t>(device)); }
    DEVINST node(DeviceIndex device) { return data(device)->DevInst; }

    DeviceInfoSet m_set;
    HMACHINE m_machine = nullptr;          ///< the set's own; null is this machine
    std::deque<SP_DEVINFO_DATA> m_devices; ///< in the order in which they were asked for; driver lists point into it
    std::vector<SP_DEVICE_INTERFACE_DATA> m_interfaces;
};

} // namespace

Opened<DeviceList> setupDeviceList(HDEVINFO handle)
{
    if (handle == INVALID_HANDLE_VALUE)
        return lastFailure();
    return std::make_unique<SetupDeviceList>(handle);
}

} // namespace driver
