// Setup classes, INF files, the driver store, and installing a driver.
#include "tests/driver/windows/contract/contract.h"

#include <newdev.h>

#include <utility>

using namespace contract;

namespace {

/// What a list of GUIDs is asked for with.
void mustBeList(Call& call, const GUID* list, DWORD size, const DWORD* required, const void* reserved)
{
    call.must((list != nullptr || size == 0) && required != nullptr, "the list or its size is missing");
    call.must(reserved == nullptr, "Reserved is not null");
}

/// What a text of a class is asked for with; `longest` is the number of characters that hold every one.
void mustBeText(Call& call, const GUID* guid, DWORD size, DWORD longest, const void* reserved)
{
    call.must(guid != nullptr && reserved == nullptr, "the class is missing, or Reserved is not null");
    call.must(size >= longest, "the buffer does not hold the longest text");
}

} // namespace

BOOL WINAPI SetupDiClassGuidsFromNameExW(PCWSTR name, GUID* list, DWORD size, PDWORD required, PCWSTR machine,
                                         PVOID reserved)
{
    Call call("SetupDiClassGuidsFromNameExW");
    call.name(name, 4096);
    mustBeList(call, list, size, required, reserved);
    return !call.wanted() && call.succeeds(call.wines<decltype(SetupDiClassGuidsFromNameExW)>()(
                                 name, list, size, required, machine, reserved));
}

BOOL WINAPI SetupDiBuildClassInfoListExW(DWORD flags, GUID* list, DWORD size, PDWORD required, PCWSTR machine,
                                         PVOID reserved)
{
    Call call("SetupDiBuildClassInfoListExW");
    call.must(flags == 0, "classes are left out");
    mustBeList(call, list, size, required, reserved);
    return !call.wanted() && call.succeeds(call.wines<decltype(SetupDiBuildClassInfoListExW)>()(
                                 flags, list, size, required, machine, reserved));
}

BOOL WINAPI SetupDiClassNameFromGuidExW(const GUID* guid, PWSTR name, DWORD size, PDWORD required, PCWSTR machine,
                                        PVOID reserved)
{
    Call call("SetupDiClassNameFromGuidExW");
    mustBeText(call, guid, size, MAX_CLASS_NAME_LEN, reserved);
    return !call.wanted() && call.succeeds(call.wines<decltype(SetupDiClassNameFromGuidExW)>()(
                                 guid, name, size, required, machine, reserved));
}

BOOL WINAPI SetupDiGetClassDescriptionExW(const GUID* guid, PWSTR text, DWORD size, PDWORD required, PCWSTR machine,
                                          PVOID reserved)
{
    Call call("SetupDiGetClassDescriptionExW");
    mustBeText(call, guid, size, LINE_LEN, reserved);
    return !call.wanted() && call.succeeds(call.wines<decltype(SetupDiGetClassDescriptionExW)>()(
                                 guid, text, size, required, machine, reserved));
}

HKEY WINAPI SetupDiOpenClassRegKeyExW(const GUID* guid, REGSAM access, DWORD flags, PCWSTR machine, PVOID reserved)
{
    Call call("SetupDiOpenClassRegKeyExW");
    call.must(guid != nullptr && flags == DIOCR_INSTALLER && reserved == nullptr, "no key of a setup class");
    call.must(access == KEY_READ || access == (KEY_READ | KEY_WRITE), "no known access");
    if (call.wanted())
        return static_cast<HKEY>(INVALID_HANDLE_VALUE);
    return call.opens(Kind::Key,
                      call.wines<decltype(SetupDiOpenClassRegKeyExW)>()(guid, access, flags, machine, reserved));
}

BOOL WINAPI SetupDiGetINFClassW(PCWSTR path, GUID* guid, PWSTR name, DWORD size, PDWORD required)
{
    Call call("SetupDiGetINFClassW");
    call.fullPath(path);
    call.must(guid != nullptr && size >= MAX_CLASS_NAME_LEN,
              "the class is missing, or the buffer holds no longest name");
    return !call.wanted() &&
           call.succeeds(call.wines<decltype(SetupDiGetINFClassW)>()(path, guid, name, size, required));
}

BOOL WINAPI SetupCopyOEMInfW(PCWSTR path, PCWSTR location, DWORD type, DWORD style, PWSTR destination, DWORD size,
                             PDWORD required, PWSTR* component)
{
    Call call("SetupCopyOEMInfW");
    call.fullPath(path);
    call.must(location == nullptr && type == SPOST_PATH && style == 0, "the package is not copied from its own folder");
    call.must(destination != nullptr && component != nullptr, "a place for the stored name is missing");
    if (call.wanted() || !call.copies(L"C:\\windows\\INF\\oem7.inf", destination, size, required))
        return FALSE;
    *component = wcsrchr(destination, L'\\') + 1;
    return TRUE;
}

HINF WINAPI SetupOpenInfFileW(PCWSTR name, PCWSTR setupClass, DWORD style, PUINT line)
{
    Call call("SetupOpenInfFileW");
    call.name(name, MAX_PATH - 1);
    call.must(setupClass == nullptr && style == INF_STYLE_WIN4, "no INF of today's style is asked for");
    return call.wanted()
               ? INVALID_HANDLE_VALUE
               : call.opens(Kind::Inf, call.wines<decltype(SetupOpenInfFileW)>()(name, setupClass, style, line));
}

BOOL WINAPI SetupGetInfInformationW(LPCVOID name, DWORD search, PSP_INF_INFORMATION buffer, DWORD size, PDWORD required)
{
    Call call("SetupGetInfInformationW");
    call.name(static_cast<const wchar_t*>(name), MAX_PATH - 1);
    call.must(search == INFINFO_DEFAULT_SEARCH, "the INF is not looked for where the system keeps its own");
    call.must(buffer != nullptr || (size == 0 && required != nullptr), "neither a buffer nor a place for its size");
    return !call.wanted() &&
           call.succeeds(call.wines<decltype(SetupGetInfInformationW)>()(name, search, buffer, size, required));
}

BOOL WINAPI SetupQueryInfOriginalFileInformationW(PSP_INF_INFORMATION information, UINT index,
                                                  PSP_ALTPLATFORM_INFO platform, PSP_ORIGINAL_FILE_INFO_W original)
{
    Call call("SetupQueryInfOriginalFileInformationW");
    call.must(information != nullptr && information->InfCount == 1 && index == 0, "there is no such INF");
    call.must(platform == nullptr, "another platform is asked for");
    call.sized(original, "SP_ORIGINAL_FILE_INFO_W");
    wcscpy(original->OriginalInfName, L"(OriginalInfName)");
    wcscpy(original->OriginalCatalogName, L"(OriginalCatalogName)");
    return !call.wanted();
}

void WINAPI SetupCloseInfFile(HINF inf)
{
    Call call("SetupCloseInfFile");
    call.closes(Kind::Inf, inf);
    call.wines<decltype(SetupCloseInfFile)>()(inf);
}

BOOL WINAPI SetupFindFirstLineW(HINF inf, PCWSTR section, PCWSTR key, PINFCONTEXT context)
{
    Call call("SetupFindFirstLineW");
    call.isOpen(Kind::Inf, inf);
    call.must(context != nullptr && section != nullptr, "the section or the place for a line is missing");
    return !call.wanted() && call.succeeds(call.wines<decltype(SetupFindFirstLineW)>()(inf, section, key, context));
}

BOOL WINAPI SetupGetStringFieldW(PINFCONTEXT context, DWORD field, PWSTR buffer, DWORD size, PDWORD required)
{
    Call call("SetupGetStringFieldW");
    call.isOpen(Kind::Inf, context->Inf);
    call.must(field >= 1, "field 0 is the key");
    return !call.wanted() &&
           call.succeeds(call.wines<decltype(SetupGetStringFieldW)>()(context, field, buffer, size, required));
}

BOOL WINAPI SetupSetNonInteractiveMode(BOOL on)
{
    Call call("SetupSetNonInteractiveMode");
    static BOOL mode = TRUE; // so that putting it back is seen
    call.must(on == TRUE, "the mode before was another");
    return std::exchange(mode, on);
}

BOOL WINAPI SetupUninstallOEMInfW(PCWSTR name, DWORD flags, PVOID reserved)
{
    Call call("SetupUninstallOEMInfW");
    call.name(name, MAX_PATH - 1);
    call.must(wcspbrk(name, L"\\/:") == nullptr, "the name has a folder");
    call.must((flags & ~SUOI_FORCEDELETE) == 0 && reserved == nullptr, "unknown flags, or Reserved is not null");
    return !call.wanted();
}

BOOL WINAPI SetupVerifyInfFileW(PCWSTR name, PSP_ALTPLATFORM_INFO platform, PSP_INF_SIGNER_INFO_W signer)
{
    Call call("SetupVerifyInfFileW");
    call.name(name, MAX_PATH - 1);
    call.must(platform == nullptr, "another platform is asked for");
    call.sized(signer, "SP_INF_SIGNER_INFO_W");
    wcscpy(signer->CatalogFile, L"(CatalogFile)");
    wcscpy(signer->DigitalSigner, L"(DigitalSigner)");
    wcscpy(signer->DigitalSignerVersion, L"(DigitalSignerVersion)");
    return !call.wanted();
}

BOOL WINAPI UpdateDriverForPlugAndPlayDevicesW(HWND, LPCWSTR hardwareId, LPCWSTR path, DWORD flags, PBOOL reboot)
{
    Call call("UpdateDriverForPlugAndPlayDevicesW");
    call.name(hardwareId, MAX_DEVICE_ID_LEN + 100);
    call.fullPath(path);
    call.must(flags == INSTALLFLAG_FORCE, "the driver does not replace a better one");
    call.must(reboot != nullptr, "the place for the need of a restart is missing");
    if (call.wanted())
        return FALSE;
    *reboot = TRUE;
    return TRUE;
}
