#include "tests/emulation/end_request.h"

#include <csignal>

EndRequest::EndRequest() = default;

EndRequest::~EndRequest() = default;

bool EndRequest::send(const QProcess& process)
{
    return kill(pid_t(process.processId()), SIGTERM) == 0;
}
