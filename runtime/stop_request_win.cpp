#include "runtime/stop_request.h"

#include <atomic>

#include <windows.h>

namespace {

/// The console calls a plain function on a thread of its own, so the one request there is stands here for it.
std::atomic<StopRequest*> s_request{nullptr};

BOOL WINAPI onConsoleEvent(DWORD event)
{
    StopRequest* const request = s_request;
    if (!request)
        return FALSE;
    QMetaObject::invokeMethod(request, "stopRequested", Qt::QueuedConnection);
    // After these events the process ends as soon as this function returns: it waits until the main thread has ended
    // it.
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT)
        Sleep(INFINITE);
    return TRUE;
}

} // namespace

StopRequest::StopRequest()
{
    s_request = this;
    SetConsoleCtrlHandler(onConsoleEvent, TRUE);
}

StopRequest::~StopRequest()
{
    SetConsoleCtrlHandler(onConsoleEvent, FALSE);
    s_request = nullptr;
}
