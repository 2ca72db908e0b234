#include "media/media_interrupt.h"

#include <algorithm>
#include <thread>

namespace {

constexpr std::chrono::milliseconds kStopPoll(10); // As often as FFmpeg looks, at the least.

} // namespace

int MediaInterrupt::check(void* opaque)
{
    auto* self = static_cast<MediaInterrupt*>(opaque);
    if (self->isStopped())
        return 1;
    if (self->waited() <= self->m_limit)
        return 0;
    self->m_expired.store(true, std::memory_order_relaxed);
    return 1;
}

bool MediaInterrupt::sleepUntil(Clock::time_point end) const
{
    for (auto now = Clock::now(); now < end && !isStopped(); now = Clock::now())
        std::this_thread::sleep_for(std::min<Clock::duration>(end - now, kStopPoll));
    return !isStopped();
}
