#include "tests/driver/windows/contract/contract.h"

#include <cstdio>
#include <map>
#include <vector>

namespace contract {

namespace {

const char* nameOf(Kind kind)
{
    const char* const names[] = {"device set",         "INF", "file queue", "machine", "logical configuration",
                                 "resource descriptor"};
    return names[static_cast<int>(kind)];
}

std::map<std::uintptr_t, Kind>& openHandles()
{
    static std::map<std::uintptr_t, Kind> handles;
    return handles;
}

std::vector<HKEY>& keys()
{
    static std::vector<HKEY> opened;
    return opened;
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
    const HANDLE file =
        CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, 0, nullptr);
    const std::string text = line + "\n";
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    CloseHandle(file);
}

std::uintptr_t openHandle(Kind kind)
{
    static std::uintptr_t last = 0x1000;
    last += 0x10;
    openHandles()[last] = kind;
    return last;
}

void noteKey(HKEY key)
{
    keys().push_back(key);
}

Call::Call(const char* name) : m_name(name)
{
    note("call " + std::string(name));
}

Call::~Call()
{
    const DWORD error = GetLastError();
    note((m_failed ? "failed " : "done ") + std::string(m_name));
    SetLastError(error);
}

void Call::must(bool kept, const std::string& what)
{
    if (!kept)
        note("breach " + std::string(m_name) + ": " + what);
}

void Call::isOpen(Kind kind, std::uintptr_t handle)
{
    const auto found = openHandles().find(handle);
    must(found != openHandles().end() && found->second == kind, std::string("the handle is no open ") + nameOf(kind));
}

void Call::closes(Kind kind, std::uintptr_t handle)
{
    isOpen(kind, handle);
    openHandles().erase(handle);
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
    }
    if (reason == DLL_PROCESS_DETACH) {
        for (const auto& [handle, kind] : openHandles())
            note(std::string("open ") + nameOf(kind));
        for (const HKEY key : keys())
            if (RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr) == ERROR_SUCCESS)
                note("open registry key");
        note("end");
    }
    return TRUE;
}
