#include "tests/emulation/end_request.h"

#include <csignal>

EndRequest::EndRequest() = default;

EndRequest::~EndRequest() = default;

bool EndRequest::send(const QProcess& process)
{
    return kill(pid_t(process.processId()), SIGTERM) == 0;
}

bool holdUp(const QProcess& process)
{
    return kill(pid_t(process.processId()), SIGSTOP) == 0;
}

bool letGoOn(const QProcess& process)
{
    return kill(pid_t(process.processId()), SIGCONT) == 0;
}
