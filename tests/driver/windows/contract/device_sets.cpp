// Device information sets and what is read and changed of their devices.
#include "tests/driver/windows/contract/device_sets.h"

#include <cwchar>
#include <memory>

namespace contract {

namespace {

constexpr const wchar_t* kIds[] = {L"ROOT\\CONTRACT\\0000", L"USB\\CONTRACT\\1"};
constexpr std::size_t kDevices = 2;
constexpr GUID kInterface{0x4D10A44F, 0x446C, 0x4481, {0xB3, 0x54, 0x4F, 0x04, 0xE6, 0xC6, 0x98, 0x12}};

std::map<HDEVINFO, std::unique_ptr<DeviceSet>>& sets()
{
    static std::map<HDEVINFO, std::unique_ptr<DeviceSet>> all;
    return all;
}

/// The last is the one that is created.
std::wstring idOf(std::size_t index)
{
    return index < kDevices ? kIds[index] : L"ROOT\\SYSTEM\\0000";
}

Device deviceOf(std::size_t index)
{
    Device device;
    device.node = static_cast<DEVINST>(kRoot + 1 + index);
    device.id = idOf(index);
    device.parameters.cbSize = sizeof(device.parameters);
    device.parameters.Flags = DI_SHOWOEM; // something to be put back
    return device;
}

HDEVINFO newSet(std::size_t devices, const wchar_t* machine, bool interfaces = false)
{
    const auto handle = opened<HDEVINFO>(Kind::DeviceSet);
    auto set = std::make_unique<DeviceSet>();
    for (std::size_t i = 0; i < devices; ++i)
        set->devices.push_back(deviceOf(i));
    set->interfaces = interfaces;
    if (machine != nullptr)
        set->machine = opened<HMACHINE>(Kind::Machine);
    sets()[handle] = std::move(set);
    return handle;
}

DeviceSet* setOf(Call& call, HDEVINFO handle)
{
    call.isOpen(Kind::DeviceSet, handle);
    const auto found = sets().find(handle);
    return found == sets().end() ? nullptr : found->second.get();
}

void fill(SP_DEVINFO_DATA* data, const Device& device)
{
    data->ClassGuid = {};
    data->DevInst = device.node;
    data->Reserved = device.node * 0x100;
}

std::wstring propertyText(DWORD property)
{
    switch (property) {
    case SPDRP_DEVICEDESC:
        return L"(description)";
    case SPDRP_HARDWAREID:
        return std::wstring(L"(hardware id)\0(second)\0", 23);
    case SPDRP_COMPATIBLEIDS:
        return std::wstring(L"(compatible id)\0", 16);
    case SPDRP_SERVICE:
        return L"(service)";
    case SPDRP_CLASS:
        return L"System";
    case SPDRP_CLASSGUID:
        return L"{4D36E97D-E325-11CE-BFC1-08002BE10318}";
    case SPDRP_UPPERFILTERS:
        return std::wstring(300, L'u') + std::wstring(1, 0); // more than a first buffer holds
    case SPDRP_LOWERFILTERS:
        return std::wstring(L"(lower filter)\0", 15);
    default:
        return {};
    }
}

} // namespace

Device* deviceOfSet(Call& call, HDEVINFO handle, const SP_DEVINFO_DATA* data)
{
    DeviceSet* const set = setOf(call, handle);
    call.sized(data, "SP_DEVINFO_DATA");
    if (set != nullptr && data != nullptr)
        for (Device& device : set->devices)
            if (device.node == data->DevInst)
                return &device;
    call.must(false, "the device is none of the set");
    return nullptr;
}

bool isNode(DEVINST node)
{
    return node >= kRoot && node <= kRoot + kDevices + 1;
}

std::wstring idOfNode(DEVINST node)
{
    return node == kRoot ? L"HTREE\\ROOT\\0" : idOf(node - kRoot - 1);
}

} // namespace contract

using namespace contract;

HDEVINFO WINAPI SetupDiGetClassDevsExW(const GUID* guid, PCWSTR enumerator, HWND, DWORD flags, HDEVINFO set,
                                       PCWSTR machine, PVOID reserved)
{
    Call call("SetupDiGetClassDevsExW");
    call.must((guid == nullptr) == ((flags & DIGCF_ALLCLASSES) != 0),
              "a class or DIGCF_ALLCLASSES is needed, not both");
    call.must((flags & ~(DIGCF_PRESENT | DIGCF_ALLCLASSES)) == 0, "unknown flags");
    call.must(enumerator == nullptr && set == nullptr && reserved == nullptr, "what is reserved or unused is not null");
    return call.wanted() ? INVALID_HANDLE_VALUE : newSet(kDevices, machine);
}

HDEVINFO WINAPI SetupDiGetClassDevsW(const GUID* guid, PCWSTR enumerator, HWND, DWORD flags)
{
    Call call("SetupDiGetClassDevsW");
    call.must(guid != nullptr && enumerator == nullptr && flags == (DIGCF_PRESENT | DIGCF_DEVICEINTERFACE),
              "no present devices of an interface class are asked for");
    return call.wanted() ? INVALID_HANDLE_VALUE : newSet(kDevices, nullptr, true);
}

HDEVINFO WINAPI SetupDiCreateDeviceInfoListExW(const GUID*, HWND, PCWSTR machine, PVOID reserved)
{
    Call call("SetupDiCreateDeviceInfoListExW");
    call.must(reserved == nullptr, "Reserved is not null");
    return call.wanted() ? INVALID_HANDLE_VALUE : newSet(0, machine);
}

BOOL WINAPI SetupDiDestroyDeviceInfoList(HDEVINFO handle)
{
    Call call("SetupDiDestroyDeviceInfoList");
    if (const DeviceSet* const set = setOf(call, handle)) {
        for (const Device& device : set->devices) {
            call.must(device.drivers == SPDIT_NODRIVER, "a device still has its driver list");
            call.must((device.parameters.Flags & ~DI_NEEDREBOOT) == DI_SHOWOEM && device.parameters.FlagsEx == 0 &&
                          device.parameters.FileQueue == nullptr,
                      "a device's install parameters were not put back");
        }
        if (set->machine != nullptr)
            call.closes(Kind::Machine, set->machine);
    }
    call.closes(Kind::DeviceSet, handle);
    sets().erase(handle);
    return !call.wanted();
}

BOOL WINAPI SetupDiGetDeviceInfoListDetailW(HDEVINFO handle, PSP_DEVINFO_LIST_DETAIL_DATA_W detail)
{
    Call call("SetupDiGetDeviceInfoListDetailW");
    const DeviceSet* const set = setOf(call, handle);
    call.sized(detail, "SP_DEVINFO_LIST_DETAIL_DATA_W");
    if (call.wanted() || set == nullptr)
        return FALSE;
    detail->RemoteMachineHandle = set->machine;
    return TRUE;
}

BOOL WINAPI SetupDiEnumDeviceInfo(HDEVINFO handle, DWORD index, PSP_DEVINFO_DATA data)
{
    Call call("SetupDiEnumDeviceInfo");
    const DeviceSet* const set = setOf(call, handle);
    call.sized(data, "SP_DEVINFO_DATA");
    if (call.wanted() || set == nullptr)
        return FALSE;
    if (index >= set->devices.size())
        return call.fails(ERROR_NO_MORE_ITEMS);
    fill(data, set->devices[index]);
    return TRUE;
}

BOOL WINAPI SetupDiOpenDeviceInfoW(HDEVINFO handle, PCWSTR id, HWND, DWORD flags, PSP_DEVINFO_DATA data)
{
    Call call("SetupDiOpenDeviceInfoW");
    DeviceSet* const set = setOf(call, handle);
    call.name(id, MAX_DEVICE_ID_LEN);
    call.must(flags == 0, "unknown flags");
    if (data != nullptr)
        call.sized(data, "SP_DEVINFO_DATA");
    if (call.wanted() || set == nullptr)
        return FALSE;
    for (std::size_t i = 0; i < kDevices; ++i)
        if (_wcsicmp(id, kIds[i]) == 0) {
            set->devices.push_back(deviceOf(i));
            fill(data, set->devices.back());
            return TRUE;
        }
    return call.fails(0xE000020B); // no such device
}

BOOL WINAPI SetupDiCreateDeviceInfoW(HDEVINFO handle, PCWSTR name, const GUID* guid, PCWSTR, HWND, DWORD flags,
                                     PSP_DEVINFO_DATA data)
{
    Call call("SetupDiCreateDeviceInfoW");
    DeviceSet* const set = setOf(call, handle);
    call.name(name, MAX_DEVICE_ID_LEN);
    call.sized(data, "SP_DEVINFO_DATA");
    call.must(guid != nullptr, "the class is missing");
    call.must(flags == DICD_GENERATE_ID && wcschr(name, L'\\') == nullptr,
              "a root-enumerated name needs a generated id");
    if (call.wanted() || set == nullptr)
        return FALSE;
    set->devices.push_back(deviceOf(kDevices));
    set->devices.back().created = true;
    fill(data, set->devices.back());
    return TRUE;
}

BOOL WINAPI SetupDiGetDeviceRegistryPropertyW(HDEVINFO handle, PSP_DEVINFO_DATA data, DWORD property, PDWORD type,
                                              PBYTE buffer, DWORD size, PDWORD required)
{
    Call call("SetupDiGetDeviceRegistryPropertyW");
    deviceOfSet(call, handle, data);
    const std::wstring text = propertyText(property);
    call.must(!text.empty(), "property " + std::to_string(property) + " is none that is read");
    call.must(buffer != nullptr || size == 0, "the buffer is missing");
    if (call.wanted())
        return FALSE;
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    if (required != nullptr)
        *required = bytes;
    if (bytes > size)
        return call.fails(ERROR_INSUFFICIENT_BUFFER);
    if (type != nullptr)
        *type = text.find(L'\0') == std::wstring::npos ? REG_SZ : REG_MULTI_SZ;
    memcpy(buffer, text.c_str(), bytes);
    return TRUE;
}

BOOL WINAPI SetupDiSetDeviceRegistryPropertyW(HDEVINFO handle, PSP_DEVINFO_DATA data, DWORD property,
                                              const BYTE* buffer, DWORD size)
{
    Call call("SetupDiSetDeviceRegistryPropertyW");
    Device* const device = deviceOfSet(call, handle, data);
    call.must(property == SPDRP_HARDWAREID, "a property that is not the hardware ids");
    call.must((buffer == nullptr) == (size == 0), "a buffer without a size, or the reverse");
    call.must(buffer == nullptr || isMultiText(buffer, size), "a list of texts does not end with two NULs");
    if (call.wanted() || device == nullptr)
        return FALSE;
    device->named = buffer != nullptr;
    return TRUE;
}

BOOL WINAPI SetupDiGetDeviceInstallParamsW(HDEVINFO handle, PSP_DEVINFO_DATA data, PSP_DEVINSTALL_PARAMS_W parameters)
{
    Call call("SetupDiGetDeviceInstallParamsW");
    const Device* const device = deviceOfSet(call, handle, data);
    call.sized(parameters, "SP_DEVINSTALL_PARAMS_W");
    if (call.wanted() || device == nullptr)
        return FALSE;
    *parameters = device->parameters;
    return TRUE;
}

BOOL WINAPI SetupDiSetDeviceInstallParamsW(HDEVINFO handle, PSP_DEVINFO_DATA data, PSP_DEVINSTALL_PARAMS_W parameters)
{
    Call call("SetupDiSetDeviceInstallParamsW");
    Device* const device = deviceOfSet(call, handle, data);
    call.sized(parameters, "SP_DEVINSTALL_PARAMS_W");
    if (parameters->Flags & DI_NOVCP) {
        call.must(parameters->FileQueue != nullptr, "DI_NOVCP needs a file queue, which is null");
        if (parameters->FileQueue != nullptr)
            call.isOpen(Kind::FileQueue, parameters->FileQueue);
    }
    if (call.wanted() || device == nullptr)
        return FALSE;
    device->parameters = *parameters;
    return TRUE;
}

BOOL WINAPI SetupDiSetClassInstallParamsW(HDEVINFO handle, PSP_DEVINFO_DATA data, PSP_CLASSINSTALL_HEADER header,
                                          DWORD size)
{
    Call call("SetupDiSetClassInstallParamsW");
    Device* const device = deviceOfSet(call, handle, data);
    call.sized(header, "SP_CLASSINSTALL_HEADER");
    if (header->InstallFunction == DIF_PROPERTYCHANGE) {
        const auto* const change = reinterpret_cast<const SP_PROPCHANGE_PARAMS*>(header);
        call.must(size == sizeof(*change), "the size is not that of SP_PROPCHANGE_PARAMS");
        call.must(change->StateChange >= DICS_ENABLE && change->StateChange <= DICS_PROPCHANGE,
                  "no known state change");
        call.must(change->Scope == DICS_FLAG_GLOBAL || change->Scope == DICS_FLAG_CONFIGSPECIFIC, "no known scope");
        call.must(change->Scope != DICS_FLAG_GLOBAL || change->StateChange == DICS_ENABLE,
                  "only enabling is done everywhere");
        call.must(change->HwProfile == 0, "the hardware profile is not the current one");
    } else if (header->InstallFunction == DIF_REMOVE) {
        const auto* const removal = reinterpret_cast<const SP_REMOVEDEVICE_PARAMS*>(header);
        call.must(size == sizeof(*removal), "the size is not that of SP_REMOVEDEVICE_PARAMS");
        call.must(removal->Scope == DI_REMOVEDEVICE_GLOBAL, "the device is not removed everywhere");
    } else {
        call.must(false, "parameters for function " + std::to_string(header->InstallFunction));
    }
    if (call.wanted() || device == nullptr)
        return FALSE;
    device->prepared = header->InstallFunction;
    return TRUE;
}

BOOL WINAPI SetupDiCallClassInstaller(DI_FUNCTION function, HDEVINFO handle, PSP_DEVINFO_DATA data)
{
    Call call("SetupDiCallClassInstaller");
    Device* const device = deviceOfSet(call, handle, data);
    if (device == nullptr)
        return FALSE;
    if (function == DIF_REGISTERDEVICE)
        call.must(device->created && device->named, "the device is not a new one with a hardware id");
    else if (function == DIF_INSTALLDEVICEFILES)
        call.must(device->selected && (device->parameters.Flags & DI_NOVCP) && device->parameters.FileQueue != nullptr,
                  "files are installed without a selected driver, or not into a queue");
    else
        call.must(device->prepared == function, "no parameters were set for function " + std::to_string(function));
    if (call.wanted())
        return FALSE;
    if (function == DIF_PROPERTYCHANGE && device->node == kRoot + 2)
        device->parameters.Flags |= DI_NEEDREBOOT;
    return TRUE;
}

BOOL WINAPI SetupDiEnumDeviceInterfaces(HDEVINFO handle, PSP_DEVINFO_DATA device, const GUID* guid, DWORD index,
                                        PSP_DEVICE_INTERFACE_DATA data)
{
    Call call("SetupDiEnumDeviceInterfaces");
    const DeviceSet* const set = setOf(call, handle);
    call.sized(data, "SP_DEVICE_INTERFACE_DATA");
    call.must(set != nullptr && set->interfaces && device == nullptr && *guid == kInterface,
              "the set is not one of this interface class");
    if (call.wanted())
        return FALSE;
    if (index >= kDevices)
        return call.fails(ERROR_NO_MORE_ITEMS);
    data->Reserved = index + 1;
    return TRUE;
}

BOOL WINAPI SetupDiGetDeviceInterfaceDetailW(HDEVINFO handle, PSP_DEVICE_INTERFACE_DATA data,
                                             PSP_DEVICE_INTERFACE_DETAIL_DATA_W detail, DWORD size, PDWORD,
                                             PSP_DEVINFO_DATA)
{
    Call call("SetupDiGetDeviceInterfaceDetailW");
    setOf(call, handle);
    call.sized(data, "SP_DEVICE_INTERFACE_DATA");
    call.sized(detail, "SP_DEVICE_INTERFACE_DETAIL_DATA_W");
    const std::wstring path = L"\\\\?\\contract#" + std::to_wstring(data->Reserved);
    if (call.wanted())
        return FALSE;
    const DWORD room = (size - offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath)) / sizeof(wchar_t);
    return call.copies(path, detail->DevicePath, room, nullptr);
}
