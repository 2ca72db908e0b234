#include "tests/usb_daemon/ask_to_end.h"

#include <csignal>

void makeAskable(QProcess&)
{}

bool askToEnd(const QProcess& process)
{
    return kill(pid_t(process.processId()), SIGTERM) == 0;
}
