#include "tests/emulation/end_request.h"

#include <windows.h>

namespace {

BOOL WINAPI ignore(DWORD)
{
    return TRUE;
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
