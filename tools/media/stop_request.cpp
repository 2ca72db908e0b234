#include "tools/media/stop_request.h"

#include <csignal>

namespace {

std::atomic<bool> g_requested{false}; // A signal handler reaches nothing else.
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void requestStop(int signal)
{
    g_requested = true;
    std::signal(signal, SIG_DFL);
}

} // namespace

void catchStopRequests()
{
    std::signal(SIGINT, requestStop);
    std::signal(SIGTERM, requestStop);
}

std::atomic<bool>& stopRequested()
{
    return g_requested;
}
