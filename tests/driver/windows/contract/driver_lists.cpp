// Driver lists of a device, and the file queue that shows what a driver would copy.
#include "tests/driver/windows/contract/device_sets.h"

using namespace contract;

namespace contract {

namespace {

constexpr DWORD kLists[] = {SPDIT_CLASSDRIVER, SPDIT_COMPATDRIVER};

Device* listed(Call& call, HDEVINFO handle, const SP_DEVINFO_DATA* data, DWORD type)
{
    Device* const device = deviceOfSet(call, handle, data);
    call.must(type == kLists[0] || type == kLists[1], "no known kind of driver list");
    call.must(device == nullptr || device->drivers == type, "the driver list was not built");
    return device;
}

void put(wchar_t* field, const wchar_t* text)
{
    wcscpy(field, text);
}

} // namespace

} // namespace contract

BOOL WINAPI SetupDiBuildDriverInfoList(HDEVINFO handle, PSP_DEVINFO_DATA data, DWORD type)
{
    Call call("SetupDiBuildDriverInfoList");
    Device* const device = deviceOfSet(call, handle, data);
    if (device == nullptr || call.wanted())
        return FALSE;
    const DWORD flags = device->parameters.FlagsEx;
    call.must(device->drivers == SPDIT_NODRIVER, "the device has a driver list");
    call.must(flags & DI_FLAGSEX_ALLOWEXCLUDEDDRVS, "DI_FLAGSEX_ALLOWEXCLUDEDDRVS is lost: drivers are left out");
    call.must(type != SPDIT_CLASSDRIVER || (flags & DI_FLAGSEX_INSTALLEDDRIVER),
              "DI_FLAGSEX_INSTALLEDDRIVER is lost: the list is of all drivers of the class");
    device->drivers = type;
    return TRUE;
}

BOOL WINAPI SetupDiDestroyDriverInfoList(HDEVINFO handle, PSP_DEVINFO_DATA data, DWORD type)
{
    Call call("SetupDiDestroyDriverInfoList");
    if (Device* const device = listed(call, handle, data, type)) {
        call.must(!device->selected, "a driver of the list is still selected");
        device->drivers = SPDIT_NODRIVER;
    }
    return !call.wanted();
}

BOOL WINAPI SetupDiEnumDriverInfoW(HDEVINFO handle, PSP_DEVINFO_DATA data, DWORD type, DWORD index,
                                   PSP_DRVINFO_DATA_W info)
{
    Call call("SetupDiEnumDriverInfoW");
    listed(call, handle, data, type);
    call.sized(info, "SP_DRVINFO_DATA_V2_W");
    if (call.wanted())
        return FALSE;
    if (index >= 1)
        return call.fails(ERROR_NO_MORE_ITEMS);
    info->DriverType = type;
    info->Reserved = 0x77;
    put(info->Description, L"(Description)");
    put(info->MfgName, L"(MfgName)");
    put(info->ProviderName, L"(ProviderName)");
    info->DriverDate = {0x33C68000, 0x01DCA84A}; // 2026-02-28
    info->DriverVersion = 0x0001000200030004;
    return TRUE;
}

BOOL WINAPI SetupDiGetDriverInfoDetailW(HDEVINFO handle, PSP_DEVINFO_DATA data, PSP_DRVINFO_DATA_W info,
                                        PSP_DRVINFO_DETAIL_DATA_W detail, DWORD size, PDWORD)
{
    Call call("SetupDiGetDriverInfoDetailW");
    deviceOfSet(call, handle, data);
    call.sized(info, "SP_DRVINFO_DATA_V2_W");
    call.must(info->Reserved == 0x77, "the driver is none of a list");
    call.sized(detail, "SP_DRVINFO_DETAIL_DATA_W");
    call.must(size >= sizeof(*detail), "the size is less than the structure");
    if (call.wanted())
        return FALSE;
    put(detail->SectionName, L"(SectionName)");
    put(detail->InfFileName, L"(InfFileName)");
    put(detail->DrvDescription, L"(DrvDescription)");
    detail->HardwareID[0] = 0;
    return info->DriverType == SPDIT_COMPATDRIVER ||
           call.fails(ERROR_INSUFFICIENT_BUFFER); // for ids behind the structure
}

BOOL WINAPI SetupDiSetSelectedDriverW(HDEVINFO handle, PSP_DEVINFO_DATA data, PSP_DRVINFO_DATA_W info)
{
    Call call("SetupDiSetSelectedDriverW");
    Device* const device = deviceOfSet(call, handle, data);
    if (info != nullptr)
        call.sized(info, "SP_DRVINFO_DATA_V2_W");
    if (call.wanted() || device == nullptr)
        return FALSE;
    call.must(device->drivers != SPDIT_NODRIVER, "the device has no driver list");
    device->selected = info != nullptr;
    return TRUE;
}

HSPFILEQ WINAPI SetupOpenFileQueue()
{
    Call call("SetupOpenFileQueue");
    return call.wanted() ? INVALID_HANDLE_VALUE
                         : call.opens(Kind::FileQueue, call.wines<decltype(SetupOpenFileQueue)>()());
}

BOOL WINAPI SetupCloseFileQueue(HSPFILEQ queue)
{
    Call call("SetupCloseFileQueue");
    call.closes(Kind::FileQueue, queue);
    return call.wines<decltype(SetupCloseFileQueue)>()(queue) && !call.wanted();
}

BOOL WINAPI SetupScanFileQueueW(HSPFILEQ queue, DWORD flags, HWND, PSP_FILE_CALLBACK_W callback, PVOID context,
                                PDWORD result)
{
    Call call("SetupScanFileQueueW");
    call.isOpen(Kind::FileQueue, queue);
    call.must(flags == SPQ_SCAN_USE_CALLBACKEX && callback != nullptr && result != nullptr,
              "no callback for whole paths, or no place for its result");
    if (call.wanted())
        return FALSE;
    // The targets lie in a page that tells whether the callback read it.
    static void* const page = guardedPage();
    auto* const paths = static_cast<FILEPATHS_W*>(page);
    for (const wchar_t* target : {L"C:\\(Target)\\a.sys", L"C:\\(Target)\\b.dll"}) {
        *paths = {target, L"(Source)", NO_ERROR, 0};
        guard(page);
        *result = callback(context, SPFILENOTIFY_QUEUESCAN_EX, reinterpret_cast<UINT_PTR>(page), 0);
        call.must(wasRead(page), "the callback does not take SPFILENOTIFY_QUEUESCAN_EX");
        if (*result != NO_ERROR)
            return call.fails(*result);
    }
    return TRUE;
}
