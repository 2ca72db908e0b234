#include "tests/usb_daemon/ask_to_end.h"

#include <windows.h>

/// The request goes to a process group of the caller's console, so there must be one and the process must be on it.
void makeAskable(QProcess& process)
{
    AllocConsole(); // Fails where there is one already.
    process.setCreateProcessArgumentsModifier([](QProcess::CreateProcessArguments* arguments) {
        arguments->flags &= ~DWORD(CREATE_NO_WINDOW);
        arguments->flags |= CREATE_NEW_PROCESS_GROUP;
    });
}

bool askToEnd(const QProcess& process)
{
    return GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, DWORD(process.processId()));
}
