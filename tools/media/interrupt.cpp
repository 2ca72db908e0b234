#include "tools/media/interrupt.h"

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

void catchInterrupts()
{
    std::signal(SIGINT, requestStop);
    std::signal(SIGTERM, requestStop);
}

std::atomic<bool>& interrupted()
{
    return g_requested;
}
