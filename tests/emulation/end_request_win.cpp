#include "tests/emulation/end_request.h"

#include <windows.h>

namespace {

BOOL WINAPI ignore(DWORD)
{
    return TRUE;
}

/// Calls a function of the system's that takes a process, and is declared nowhere.
bool callFor(const QProcess& device, const char* function)
{
    using Function = LONG(WINAPI*)(HANDLE);
    const HMODULE library = GetModuleHandleW(L"ntdll.dll");
    const auto call = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, function)));
    const HANDLE process = OpenProcess(PROCESS_SUSPEND_RESUME, FALSE, DWORD(device.processId()));
    const bool done = call && process && call(process) >= 0;
    CloseHandle(process);
    return done;
}

} // namespace

/// Ctrl+C goes to every process of a console: this one's is replaced by one that no other program is on.
EndRequest::EndRequest()
{
    FreeConsole();
    AllocConsole();
    SetConsoleCtrlHandler(ignore, TRUE);
}

EndRequest::~EndRequest()
{
    FreeConsole();
    SetConsoleCtrlHandler(ignore, FALSE);
}

bool EndRequest::send(const QProcess&)
{
    return GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
}

bool holdUp(const QProcess& process)
{
    return callFor(process, "NtSuspendProcess");
}

bool letGoOn(const QProcess& process)
{
    return callFor(process, "NtResumeProcess");
}
