#include "tests/driver/windows/contract/contract.h"

#include <cstdio>
#include <set>
#include <utility>

namespace contract {

namespace {

const char* nameOf(Kind kind)
{
    const char* const names[] = {
        "device set", "INF",   "file queue", "machine", "logical configuration", "resource descriptor", "registry key",
        "service",    "token", "search",     "library"};
    return names[static_cast<int>(kind)];
}

/// One of a library as often as it was loaded.
std::multiset<std::pair<Kind, std::uintptr_t>>& openHandles()
{
    static std::multiset<std::pair<Kind, std::uintptr_t>> handles;
    return handles;
}

volatile LONG pageReads = 0;

/// The system takes the guard off with the first access, so that the access succeeds when it is repeated.
LONG CALLBACK countRead(EXCEPTION_POINTERS* exception)
{
    if (exception->ExceptionRecord->ExceptionCode != STATUS_GUARD_PAGE_VIOLATION)
        return EXCEPTION_CONTINUE_SEARCH;
    InterlockedIncrement(&pageReads);
    return EXCEPTION_CONTINUE_EXECUTION;
}

} // namespace

void note(const std::string& line)
{
    wchar_t path[MAX_PATH] = {};
    if (GetEnvironmentVariableW(L"CONTRACT_LOG", path, MAX_PATH) == 0)
        return;
    const DWORD error = GetLastError();
    const HANDLE file =
        CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, 0, nullptr);
    const std::string text = line + "\n";
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    CloseHandle(file);
    SetLastError(error);
}

std::uintptr_t openHandle(Kind kind)
{
    static std::uintptr_t last = 0x1000;
    last += 0x10;
    openHandles().emplace(kind, last);
    return last;
}

bool isKnown(Kind kind, const void* handle)
{
    return openHandles().contains({kind, reinterpret_cast<std::uintptr_t>(handle)});
}

bool isMultiText(const BYTE* bytes, DWORD size)
{
    const auto* const text = reinterpret_cast<const wchar_t*>(bytes);
    const DWORD length = size / sizeof(wchar_t);
    return size % sizeof(wchar_t) == 0 && length >= 2 && text[length - 1] == 0 && text[length - 2] == 0;
}

std::wstring besideThis(const wchar_t* name)
{
    wchar_t path[MAX_PATH] = {};
    HMODULE library = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&note), &library);
    GetModuleFileNameW(library, path, MAX_PATH);
    return std::wstring(path, wcsrchr(path, L'\\') + 1) + name;
}

FARPROC functionOfWine(const char* name)
{
    static const HMODULE library = LoadLibraryW(L"C:\\windows\\system32\\setupapi.dll");
    return GetProcAddress(library, name);
}

Call::Call(const char* name) : m_name(name)
{
    note("call " + std::string(name));
}

Call::~Call()
{
    note((m_failed ? "failed " : "done ") + std::string(m_name));
}

void Call::must(bool kept, const std::string& what)
{
    if (!kept)
        note("breach " + std::string(m_name) + ": " + what);
}

void Call::isOpen(Kind kind, std::uintptr_t handle)
{
    must(openHandles().contains({kind, handle}), std::string("the handle is no open ") + nameOf(kind));
}

void Call::closes(Kind kind, std::uintptr_t handle)
{
    isOpen(kind, handle);
    if (const auto found = openHandles().find({kind, handle}); found != openHandles().end())
        openHandles().erase(found);
}

void Call::keep(Kind kind, void* handle)
{
    m_failed = handle == nullptr || handle == INVALID_HANDLE_VALUE;
    if (!m_failed)
        openHandles().emplace(kind, reinterpret_cast<std::uintptr_t>(handle));
}

BOOL Call::succeeds(BOOL answer)
{
    m_failed = !answer;
    return answer;
}

LSTATUS Call::ends(LSTATUS result)
{
    m_failed = result != ERROR_SUCCESS;
    return result;
}

void Call::machine(HANDLE machine)
{
    if (machine != nullptr)
        isOpen(Kind::Machine, machine);
}

void Call::name(const wchar_t* name, std::size_t longest)
{
    must(name != nullptr && *name != 0 && wcsnlen(name, longest + 1) <= longest, "a name is missing or too long");
}

void Call::fullPath(const wchar_t* path)
{
    name(path, MAX_PATH - 1);
    must(path != nullptr && path[0] != 0 && path[1] == L':' && path[2] == L'\\', "the path is not a full one");
}

DWORD Call::wanted()
{
    char text[200] = {};
    GetEnvironmentVariableA("CONTRACT_FAIL", text, sizeof(text));
    const std::string prefix = std::string(m_name) + ":";
    if (std::string(text).rfind(prefix, 0) != 0)
        return 0;
    const DWORD error = std::stoul(text + prefix.size(), nullptr, 0);
    m_failed = true;
    SetLastError(error);
    return error;
}

BOOL Call::fails(DWORD error)
{
    m_failed = true;
    SetLastError(error);
    return FALSE;
}

BOOL Call::copies(const std::wstring& text, wchar_t* buffer, DWORD size, DWORD* required)
{
    must(buffer != nullptr || size == 0, "the buffer is missing");
    if (required != nullptr)
        *required = static_cast<DWORD>(text.size() + 1);
    if (text.size() >= size)
        return fails(ERROR_INSUFFICIENT_BUFFER);
    std::copy(text.c_str(), text.c_str() + text.size() + 1, buffer);
    return TRUE;
}

void* guardedPage()
{
    static void* const handler = AddVectoredExceptionHandler(1, countRead);
    static_cast<void>(handler);
    return VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
}

void guard(void* page)
{
    DWORD before = 0;
    pageReads = 0;
    VirtualProtect(page, 4096, PAGE_READWRITE | PAGE_GUARD, &before);
}

bool wasRead(void* page)
{
    DWORD before = 0;
    VirtualProtect(page, 4096, PAGE_READWRITE, &before);
    return pageReads > 0;
}

} // namespace contract

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*)
{
    using namespace contract;
    if (reason == DLL_PROCESS_ATTACH) {
        // What the program loads by name is looked for among what is loaded already.
        LoadLibraryW(L"newdev.dll");
        judgeSystemCalls();
        // What a command deletes is there for the next one.
        RegSetKeyValueW(HKEY_LOCAL_MACHINE,
                        L"System\\CurrentControlSet\\Control\\Class\\{4D36E97D-E325-11CE-BFC1-08002BE10318}",
                        L"LowerFilters", REG_MULTI_SZ, L"(class lower filter)\0", 22 * sizeof(wchar_t));
    }
    if (reason == DLL_PROCESS_DETACH) {
        for (const auto& [kind, handle] : openHandles())
            note(std::string("open ") + nameOf(kind));
        note("end");
    }
    return TRUE;
}
