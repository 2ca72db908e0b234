// Device lists, properties, resources and interfaces.
#include "driver/platform/setupapi_objects.h"
#include "driver/platform/setupapi_platform.h"

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

Opened<DeviceList> openedList(HDEVINFO handle)
{
    if (handle == INVALID_HANDLE_VALUE)
        return Opened<DeviceList>::failed(lastError());
    return Opened<DeviceList>(std::make_unique<SetupDeviceList>(handle));
}

struct SetupConfiguration final : LogicalConfiguration
{
    LogConf configuration;
    ResDes current; ///< empty before the first descriptor
    HMACHINE machine = nullptr;
};

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

CONFIGRET firstConfiguration(LOG_CONF* handle, DEVINST node, ULONG kind, HMACHINE machine)
{
    return machine == nullptr ? CM_Get_First_Log_Conf(handle, node, kind)
                              : CM_Get_First_Log_Conf_Ex(handle, node, kind, machine);
}

/// Bytes of a descriptor as the structure that its type has.
template<class Structure>
Structure structureOf(const std::vector<unsigned char>& bytes)
{
    Structure structure{};
    std::memcpy(&structure, bytes.data(), std::min(sizeof(structure), bytes.size()));
    return structure;
}

Resource resourceOf(RESOURCEID type, const std::vector<unsigned char>& bytes)
{
    switch (type) {
    case ResType_Mem: {
        const auto memory = structureOf<MEM_DES>(bytes);
        return {Resource::Kind::Memory, memory.MD_Alloc_Base, memory.MD_Alloc_End};
    }
    case ResType_IO: {
        const auto port = structureOf<IO_DES>(bytes);
        return {Resource::Kind::Port, port.IOD_Alloc_Base, port.IOD_Alloc_End};
    }
    case ResType_DMA:
        return {Resource::Kind::Dma, structureOf<DMA_DES>(bytes).DD_Alloc_Chan, 0};
    case ResType_IRQ:
        return {Resource::Kind::Interrupt, structureOf<IRQ_DES>(bytes).IRQD_Alloc_Num, 0};
    default:
        return {};
    }
}

} // namespace

Opened<DeviceList> SetupApiPlatform::classDevices(const std::optional<Guid>& setupClass, std::uint32_t flags,
                                                  const MachineName& machine)
{
    const GUID guid = systemGuid(setupClass.value_or(Guid()));
    return openedList(SetupDiGetClassDevsExW(setupClass ? &guid : nullptr, nullptr, nullptr,
                                             flags | (setupClass ? 0 : DIGCF_ALLCLASSES), nullptr, nameOrNull(machine),
                                             nullptr));
}

Opened<DeviceList> SetupApiPlatform::emptyList(const std::optional<Guid>& setupClass, const MachineName& machine)
{
    const GUID guid = systemGuid(setupClass.value_or(Guid()));
    return openedList(
        SetupDiCreateDeviceInfoListExW(setupClass ? &guid : nullptr, nullptr, nameOrNull(machine), nullptr));
}

Outcome<DeviceIndex> SetupApiPlatform::openDevice(DeviceList& list, const std::wstring& instanceId)
{
    SP_DEVINFO_DATA data{};
    data.cbSize = sizeof(data);
    if (!SetupDiOpenDeviceInfoW(setOf(list), instanceId.c_str(), nullptr, 0, &data))
        return Outcome<DeviceIndex>::failed(lastError());
    return static_cast<SetupDeviceList&>(list).add(data);
}

Outcome<ListDetail> SetupApiPlatform::listDetail(DeviceList& list)
{
    SP_DEVINFO_LIST_DETAIL_DATA_W detail{};
    detail.cbSize = sizeof(detail);
    if (!SetupDiGetDeviceInfoListDetailW(setOf(list), &detail))
        return Outcome<ListDetail>::failed(lastError());
    return ListDetail{guidOf(detail.ClassGuid),
                      static_cast<MachineHandle>(reinterpret_cast<std::uintptr_t>(detail.RemoteMachineHandle))};
}

Outcome<DeviceIndex> SetupApiPlatform::deviceAt(DeviceList& list, std::uint32_t position)
{
    SP_DEVINFO_DATA data{};
    data.cbSize = sizeof(data);
    if (!SetupDiEnumDeviceInfo(setOf(list), position, &data))
        return Outcome<DeviceIndex>::failed(lastError());
    static_cast<SetupDeviceList&>(list).devices[position] = data;
    return static_cast<DeviceIndex>(position);
}

Outcome<RegistryData> SetupApiPlatform::deviceProperty(DeviceList& list, DeviceIndex device, DeviceProperty property)
{
    RegistryData data{0, std::vector<std::uint8_t>(512)};
    for (;;) {
        DWORD type = 0;
        DWORD size = 0;
        if (SetupDiGetDeviceRegistryPropertyW(setOf(list), dataOf(list, device), propertyNumber(property), &type,
                                              data.bytes.data(), static_cast<DWORD>(data.bytes.size()), &size)) {
            data.type = type;
            data.bytes.resize(std::min<std::size_t>(size, data.bytes.size()));
            return data;
        }
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER || size <= data.bytes.size())
            return Outcome<RegistryData>::failed(lastError());
        data.bytes.resize(size);
    }
}

Status SetupApiPlatform::setDeviceProperty(DeviceList& list, DeviceIndex device, DeviceProperty property,
                                           const std::optional<RegistryData>& data)
{
    return statusOf(SetupDiSetDeviceRegistryPropertyW(setOf(list), dataOf(list, device), propertyNumber(property),
                                                      data ? data->bytes.data() : nullptr,
                                                      data ? static_cast<DWORD>(data->bytes.size()) : 0));
}

Outcome<std::wstring> SetupApiPlatform::deviceId(DeviceList& list, DeviceIndex device, std::size_t capacity,
                                                 MachineHandle machine)
{
    // One character more than is asked for: an id that fills the buffer comes without its NUL.
    std::vector<wchar_t> buffer(capacity + 1);
    const CONFIGRET result =
        idOf(nodeOf(list, device), buffer.data(), static_cast<ULONG>(capacity), machineOf(machine));
    if (result != CR_SUCCESS)
        return Outcome<std::wstring>::failed(result);
    std::wstring id(buffer.data());
    return id.size() < capacity ? Outcome<std::wstring>(std::move(id)) : Outcome<std::wstring>::failed(CR_BUFFER_SMALL);
}

Outcome<NodeStatus> SetupApiPlatform::deviceStatus(DeviceList& list, DeviceIndex device, MachineHandle machine)
{
    ULONG flags = 0;
    ULONG problem = 0;
    const CONFIGRET result = statusOfNode(&flags, &problem, nodeOf(list, device), machineOf(machine));
    if (result != CR_SUCCESS)
        return Outcome<NodeStatus>::failed(result);
    return NodeStatus{static_cast<std::uint32_t>(flags), static_cast<std::uint32_t>(problem)};
}

Opened<LogicalConfiguration> SetupApiPlatform::openConfiguration(DeviceList& list, DeviceIndex device,
                                                                 ConfigurationKind kind, MachineHandle machine)
{
    LOG_CONF handle = 0;
    const CONFIGRET result =
        firstConfiguration(&handle, nodeOf(list, device),
                           kind == ConfigurationKind::Allocated ? ALLOC_LOG_CONF : BOOT_LOG_CONF, machineOf(machine));
    if (result != CR_SUCCESS)
        return Opened<LogicalConfiguration>::failed(result);
    auto configuration = std::make_unique<SetupConfiguration>();
    configuration->configuration = LogConf(handle);
    configuration->machine = machineOf(machine);
    return Opened<LogicalConfiguration>(std::move(configuration));
}

Outcome<Resource> SetupApiPlatform::nextResource(LogicalConfiguration& open)
{
    auto& state = static_cast<SetupConfiguration&>(open);
    RES_DES next = 0;
    RESOURCEID type = 0;
    const RES_DES from = state.current.get() != 0 ? state.current.get() : state.configuration.get();
    CONFIGRET result = CM_Get_Next_Res_Des_Ex(&next, from, ResType_All, &type, 0, state.machine);
    if (result != CR_SUCCESS)
        return Outcome<Resource>::failed(result);
    state.current = ResDes(next);
    ULONG size = 0;
    result = CM_Get_Res_Des_Data_Size_Ex(&size, next, 0, state.machine);
    if (result != CR_SUCCESS)
        return Outcome<Resource>::failed(result);
    std::vector<unsigned char> bytes(std::max<ULONG>(size, 1));
    result = CM_Get_Res_Des_Data_Ex(next, bytes.data(), size, 0, state.machine);
    if (result != CR_SUCCESS)
        return Outcome<Resource>::failed(result);
    return resourceOf(type, bytes);
}

Opened<DeviceList> SetupApiPlatform::interfaceDevices(const Guid& interfaceClass, std::uint32_t flags)
{
    const GUID guid = systemGuid(interfaceClass);
    return openedList(SetupDiGetClassDevsW(&guid, nullptr, nullptr, flags));
}

Outcome<InterfaceIndex> SetupApiPlatform::interfaceAt(DeviceList& list, const Guid& interfaceClass,
                                                      std::uint32_t position)
{
    const GUID guid = systemGuid(interfaceClass);
    SP_DEVICE_INTERFACE_DATA data{};
    data.cbSize = sizeof(data);
    if (!SetupDiEnumDeviceInterfaces(setOf(list), nullptr, &guid, position, &data))
        return Outcome<InterfaceIndex>::failed(lastError());
    auto& interfaces = static_cast<SetupDeviceList&>(list).interfaces;
    interfaces.push_back(data);
    return static_cast<InterfaceIndex>(interfaces.size() - 1);
}

Outcome<std::wstring> SetupApiPlatform::interfacePath(DeviceList& list, InterfaceIndex position,
                                                      std::size_t bufferBytes)
{
    auto& interfaces = static_cast<SetupDeviceList&>(list).interfaces;
    std::vector<std::uint64_t> buffer((bufferBytes + 7) / 8); // aligned for the structure
    auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    detail->cbSize = sizeof(*detail);
    if (!SetupDiGetDeviceInterfaceDetailW(setOf(list), &interfaces.at(static_cast<std::size_t>(position)), detail,
                                          static_cast<DWORD>(bufferBytes), nullptr, nullptr))
        return Outcome<std::wstring>::failed(lastError());
    return std::wstring(detail->DevicePath);
}

} // namespace driver
