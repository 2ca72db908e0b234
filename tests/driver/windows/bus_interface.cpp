// bus_interface: what a running bus driver does, for a system without one. "expose" and "hide" switch the host
// controller interface of the root\VUBUS device; "list" prints the paths that the engine finds.
#include "driver/device_interfaces.h"
#include "driver/output.h"
#include "driver/platform/setupapi_handles.h"
#include "driver/platform/system_platform.h"
#include "driver/text.h"

#include <string>
#include <vector>

namespace {

constexpr GUID kInterface{0x4D10A44F, 0x446C, 0x4481, {0xB3, 0x54, 0x4F, 0x04, 0xE6, 0xC6, 0x98, 0x12}};
constexpr const wchar_t* kClassesKey = L"SYSTEM\\CurrentControlSet\\Control\\DeviceClasses\\"
                                       L"{4d10a44f-446c-4481-b354-4f04e6c69812}\\";

bool isBus(HDEVINFO set, SP_DEVINFO_DATA& device)
{
    wchar_t ids[512] = {};
    return SetupDiGetDeviceRegistryPropertyW(set, &device, SPDRP_HARDWAREID, nullptr, reinterpret_cast<BYTE*>(ids),
                                             sizeof(ids) - 2 * sizeof(wchar_t), nullptr) &&
           driver::equalIgnoringCase(ids, L"root\\VUBUS");
}

/// Registers the interface of `device` and returns its path; empty on failure.
std::wstring createInterface(HDEVINFO set, SP_DEVINFO_DATA& device)
{
    SP_DEVICE_INTERFACE_DATA data{};
    data.cbSize = sizeof(data);
    std::vector<std::uint64_t> buffer(128);
    auto* const detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer.data());
    detail->cbSize = sizeof(*detail);
    if (!SetupDiCreateDeviceInterfaceW(set, &device, &kInterface, nullptr, 0, &data) ||
        !SetupDiGetDeviceInterfaceDetailW(set, &data, detail, static_cast<DWORD>(buffer.size() * 8), nullptr, nullptr))
        return {};
    return detail->DevicePath;
}

/// An interface is present while its key says that it is linked.
bool setLinked(const std::wstring& path, DWORD linked)
{
    const std::wstring key = kClassesKey + (L"##?#" + path.substr(4)) + L"\\#\\Control";
    HKEY opened = nullptr;
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &opened, nullptr) !=
        ERROR_SUCCESS)
        return false;
    const driver::OpenKey owner(opened);
    return RegSetValueExW(opened, L"Linked", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&linked), sizeof(linked)) ==
           ERROR_SUCCESS;
}

bool switchBus(DWORD linked)
{
    const HDEVINFO handle = SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_ALLCLASSES);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    const driver::DeviceInfoSet set(handle);
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof(device);
    for (DWORD i = 0; SetupDiEnumDeviceInfo(handle, i, &device); ++i) {
        if (!isBus(handle, device))
            continue;
        const std::wstring path = createInterface(handle, device);
        return path.size() > 4 && setLinked(path, linked);
    }
    return false;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const std::wstring_view word = argc == 2 ? argv[1] : L"";
    if (word == L"expose" || word == L"hide")
        return switchBus(word == L"expose" ? 1 : 0) ? 0 : 2;
    if (word != L"list")
        return 3;
    for (const std::wstring& path : driver::devicePaths(*driver::systemPlatform({}), driver::kHostControllerInterface))
        driver::systemOutput().write(driver::Stream::Normal, path + L"\n");
    return 0;
}
