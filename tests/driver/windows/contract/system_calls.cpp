// What the engine asks of the system's other libraries. They have too many functions to stand in for: the program's
// import table leads the calls that are judged here first.
#include "tests/driver/windows/contract/contract.h"

#include <string_view>

using namespace contract;

namespace {

LSTATUS WINAPI queryValue(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size)
{
    Call call("RegQueryValueExW");
    call.isOpen(Kind::Key, key);
    call.must(reserved == nullptr && (data == nullptr || size != nullptr), "a buffer without its size");
    if (const DWORD error = call.wanted())
        return static_cast<LSTATUS>(error);
    return call.ends(RegQueryValueExW(key, name, reserved, type, data, size));
}

LSTATUS WINAPI setValue(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size)
{
    Call call("RegSetValueExW");
    call.isOpen(Kind::Key, key);
    call.must(reserved == 0 && type == REG_MULTI_SZ && isMultiText(data, size), "no list of texts with its two NULs");
    if (const DWORD error = call.wanted())
        return static_cast<LSTATUS>(error);
    return call.ends(RegSetValueExW(key, name, reserved, type, data, size));
}

LSTATUS WINAPI deleteValue(HKEY key, LPCWSTR name)
{
    Call call("RegDeleteValueW");
    call.isOpen(Kind::Key, key);
    if (const DWORD error = call.wanted())
        return static_cast<LSTATUS>(error);
    return call.ends(RegDeleteValueW(key, name));
}

LSTATUS WINAPI closeKey(HKEY key)
{
    Call call("RegCloseKey");
    call.closes(Kind::Key, key);
    const LSTATUS closed = RegCloseKey(key);
    const DWORD error = call.wanted();
    return error != 0 ? static_cast<LSTATUS>(error) : closed;
}

SC_HANDLE WINAPI openManager(LPCWSTR machine, LPCWSTR database, DWORD access)
{
    Call call("OpenSCManagerW");
    call.must(database == nullptr && access == GENERIC_READ, "more than reading, or not today's services");
    return call.wanted() ? nullptr : call.opens(Kind::Service, OpenSCManagerW(machine, database, access));
}

SC_HANDLE WINAPI openService(SC_HANDLE manager, LPCWSTR name, DWORD access)
{
    Call call("OpenServiceW");
    call.isOpen(Kind::Service, manager);
    call.name(name, 256);
    call.must(access == GENERIC_READ, "more than reading");
    return call.wanted() ? nullptr : call.opens(Kind::Service, OpenServiceW(manager, name, access));
}

BOOL WINAPI closeService(SC_HANDLE service)
{
    Call call("CloseServiceHandle");
    call.closes(Kind::Service, service);
    const BOOL closed = CloseServiceHandle(service);
    return closed && !call.wanted();
}

BOOL WINAPI openToken(HANDLE process, DWORD access, PHANDLE token)
{
    Call call("OpenProcessToken");
    call.must(access == (TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY), "privileges are enabled with another access");
    if (call.wanted() || !call.succeeds(OpenProcessToken(process, access, token)))
        return FALSE;
    call.opens(Kind::Token, *token);
    return TRUE;
}

BOOL WINAPI closeHandle(HANDLE handle)
{
    if (!isKnown(Kind::Token, handle)) // one of the runtime library's
        return CloseHandle(handle);
    Call call("CloseHandle");
    call.closes(Kind::Token, handle);
    return CloseHandle(handle) && !call.wanted();
}

BOOL WINAPI lookupPrivilege(LPCWSTR system, LPCWSTR name, PLUID id)
{
    Call call("LookupPrivilegeValueW");
    call.must(system == nullptr && std::wstring_view(name) == L"SeShutdownPrivilege",
              "not the right to shut this one down");
    return !call.wanted() && call.succeeds(LookupPrivilegeValueW(system, name, id));
}

BOOL WINAPI adjustPrivileges(HANDLE token, BOOL all, PTOKEN_PRIVILEGES now, DWORD size, PTOKEN_PRIVILEGES before,
                             PDWORD required)
{
    Call call("AdjustTokenPrivileges");
    call.isOpen(Kind::Token, token);
    call.must(!all && now->PrivilegeCount == 1 && now->Privileges[0].Attributes == SE_PRIVILEGE_ENABLED,
              "not one privilege is enabled");
    if (const DWORD error = call.wanted())
        return error == ERROR_NOT_ALL_ASSIGNED; // which is a success with a last error
    return call.succeeds(AdjustTokenPrivileges(token, all, now, size, before, required));
}

/// Nothing is shut down.
BOOL WINAPI shutdownSystem(LPWSTR machine, LPWSTR text, DWORD seconds, BOOL force, BOOL reboot, DWORD reason)
{
    Call call("InitiateSystemShutdownExW");
    call.must(machine == nullptr && text == nullptr && seconds == 0, "not this machine, or not at once");
    call.must(!force && reboot, "programs are closed by force, or the system does not come back");
    call.must(reason == (SHTDN_REASON_FLAG_PLANNED | SHTDN_REASON_MAJOR_HARDWARE | SHTDN_REASON_MINOR_INSTALLATION),
              "another reason than the planned installation of hardware");
    return !call.wanted();
}

HMODULE WINAPI loadLibrary(LPCWSTR name, HANDLE file, DWORD flags)
{
    if (wcsstr(name, L"newdev") == nullptr && wcsstr(name, L"setupapi") == nullptr) // one of the runtime library's
        return LoadLibraryExW(name, file, flags);
    Call call("LoadLibraryExW");
    call.must(flags == LOAD_LIBRARY_SEARCH_SYSTEM32, "not only the system's folder is searched");
    call.must(file == nullptr && std::wstring_view(name).find_first_of(L"\\/:") == std::wstring_view::npos,
              "the library is not looked for by its name");
    return call.wanted() ? nullptr : call.opens(Kind::Library, LoadLibraryW(besideThis(name).c_str()));
}

FARPROC WINAPI findProcedure(HMODULE library, LPCSTR name)
{
    if (!isKnown(Kind::Library, library)) // one of the runtime library's
        return GetProcAddress(library, name);
    Call call("GetProcAddress");
    const FARPROC found = call.wanted() ? nullptr : GetProcAddress(library, name);
    call.succeeds(found != nullptr);
    return found;
}

BOOL WINAPI freeLibrary(HMODULE library)
{
    if (!isKnown(Kind::Library, library))
        return FreeLibrary(library);
    Call call("FreeLibrary");
    call.closes(Kind::Library, library);
    return FreeLibrary(library) && !call.wanted();
}

DWORD WINAPI fullPathName(LPCWSTR path, DWORD size, LPWSTR buffer, LPWSTR* name)
{
    Call call("GetFullPathNameW");
    call.must(path != nullptr && buffer != nullptr && name != nullptr, "the path or a place for its parts is missing");
    const DWORD length = call.wanted() ? 0 : GetFullPathNameW(path, size, buffer, name);
    call.succeeds(length != 0);
    return length;
}

UINT WINAPI windowsFolder(LPWSTR buffer, UINT size)
{
    Call call("GetWindowsDirectoryW");
    call.must(buffer != nullptr && size >= MAX_PATH, "the buffer holds no longest path");
    return call.wanted() ? 0 : GetWindowsDirectoryW(buffer, size);
}

DWORD WINAPI attributes(LPCWSTR path)
{
    Call call("GetFileAttributesW");
    call.fullPath(path);
    const DWORD found = call.wanted() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(path);
    call.succeeds(found != INVALID_FILE_ATTRIBUTES);
    return found;
}

HANDLE WINAPI findFirst(LPCWSTR pattern, LPWIN32_FIND_DATAW data)
{
    Call call("FindFirstFileW");
    call.fullPath(pattern);
    call.must(data != nullptr, "the place for a file is missing");
    return call.wanted() ? INVALID_HANDLE_VALUE : call.opens(Kind::Search, FindFirstFileW(pattern, data));
}

BOOL WINAPI findNext(HANDLE search, LPWIN32_FIND_DATAW data)
{
    Call call("FindNextFileW");
    call.isOpen(Kind::Search, search);
    return !call.wanted() && call.succeeds(FindNextFileW(search, data));
}

BOOL WINAPI endSearch(HANDLE search)
{
    Call call("FindClose");
    call.closes(Kind::Search, search);
    return FindClose(search) && !call.wanted();
}

DWORD WINAPI formatMessage(DWORD flags, LPCVOID source, DWORD number, DWORD language, LPWSTR buffer, DWORD size,
                           va_list* arguments)
{
    Call call("FormatMessageW");
    const bool ofSystem = flags & FORMAT_MESSAGE_FROM_SYSTEM;
    call.must(ofSystem == ((flags & FORMAT_MESSAGE_IGNORE_INSERTS) != 0),
              "inserts of a text that is not the program's");
    call.must(ofSystem == ((flags & FORMAT_MESSAGE_FROM_HMODULE) == 0), "not one source of texts");
    const DWORD length = call.wanted() ? 0 : FormatMessageW(flags, source, number, language, buffer, size, arguments);
    call.succeeds(length != 0);
    return length;
}

int WINAPI loadText(HINSTANCE program, UINT number, LPWSTR buffer, int size)
{
    Call call("LoadStringW");
    call.must(buffer != nullptr && size > 0, "the buffer is missing: the text would come as a pointer");
    const int length = call.wanted() ? 0 : LoadStringW(program, number, buffer, size);
    call.succeeds(length > 0);
    return length;
}

struct Judged
{
    const char* name;
    void* replacement;
};

template<class Function>
Judged judged(const char* name, Function* replacement)
{
    return {name, reinterpret_cast<void*>(replacement)};
}

/// The address that the program's import table has of a function, by the function's name.
void judge(const char* library, const char* name, ULONGLONG& address)
{
    static const Judged all[] = {judged("RegQueryValueExW", queryValue),
                                 judged("RegSetValueExW", setValue),
                                 judged("RegDeleteValueW", deleteValue),
                                 judged("RegCloseKey", closeKey),
                                 judged("OpenSCManagerW", openManager),
                                 judged("OpenServiceW", openService),
                                 judged("CloseServiceHandle", closeService),
                                 judged("OpenProcessToken", openToken),
                                 judged("CloseHandle", closeHandle),
                                 judged("LookupPrivilegeValueW", lookupPrivilege),
                                 judged("AdjustTokenPrivileges", adjustPrivileges),
                                 judged("InitiateSystemShutdownExW", shutdownSystem),
                                 judged("LoadLibraryExW", loadLibrary),
                                 judged("GetProcAddress", findProcedure),
                                 judged("FreeLibrary", freeLibrary),
                                 judged("GetFullPathNameW", fullPathName),
                                 judged("GetWindowsDirectoryW", windowsFolder),
                                 judged("GetFileAttributesW", attributes),
                                 judged("FindFirstFileW", findFirst),
                                 judged("FindNextFileW", findNext),
                                 judged("FindClose", endSearch),
                                 judged("FormatMessageW", formatMessage),
                                 judged("LoadStringW", loadText)};
    for (const Judged& each : all)
        if (std::string_view(each.name) == name) {
            DWORD before = 0;
            VirtualProtect(&address, sizeof(address), PAGE_READWRITE, &before);
            address = reinterpret_cast<ULONGLONG>(each.replacement);
            return;
        }
    // The C++ library's random numbers are none of the engine's, nor the key that bus-interface makes for its devices.
    const bool engines = !std::string_view(name).starts_with("Crypt") && std::string_view(name) != "RegCreateKeyExW";
    if (_stricmp(library, "advapi32.dll") == 0 && engines)
        note("breach " + std::string(name) + ": nothing judges this call");
}

} // namespace

void contract::judgeSystemCalls()
{
    auto* const program = reinterpret_cast<BYTE*>(GetModuleHandleW(nullptr));
    const auto at = [&](ULONGLONG offset) { return program + offset; };
    const auto* const header = reinterpret_cast<const IMAGE_NT_HEADERS*>(
        at(static_cast<ULONGLONG>(reinterpret_cast<const IMAGE_DOS_HEADER*>(program)->e_lfanew)));
    const DWORD imports = header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* import = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(at(imports)); import->Name != 0; ++import) {
        const auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(at(import->OriginalFirstThunk));
        auto* address = reinterpret_cast<IMAGE_THUNK_DATA*>(at(import->FirstThunk));
        for (; name->u1.AddressOfData != 0; ++name, ++address)
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal))
                judge(reinterpret_cast<const char*>(at(import->Name)),
                      reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(at(name->u1.AddressOfData))->Name,
                      address->u1.Function);
    }
}
