// media_interrupt.h: bounds every blocking call into an input, and stops it from another thread.
#pragma once

#include "media/ffmpeg_handles.h"

#include <atomic>
#include <chrono>

/// FFmpeg polls check() while it waits. A call that takes longer than the limit, or a stop, ends it as a failure.
/// stop() may come from any thread; the rest belongs to the thread that reads. Outlives every input that uses it.
class MediaInterrupt
{
public:
    explicit MediaInterrupt(std::chrono::milliseconds limit = std::chrono::seconds(10)) : m_limit(limit)
    {
        beginCall();
    }
    MediaInterrupt(const MediaInterrupt&) = delete;
    MediaInterrupt& operator=(const MediaInterrupt&) = delete;

    /// Starts the time of one blocking call: opening, searching stream information, reading one packet, closing.
    void beginCall() { m_deadline.store(Clock::now() + m_limit, std::memory_order_relaxed); }

    void stop() { m_stopped.store(true, std::memory_order_relaxed); }
    bool isStopped() const { return m_stopped.load(std::memory_order_relaxed); }

    AVIOInterruptCB callback() { return {&MediaInterrupt::check, this}; }

private:
    using Clock = std::chrono::steady_clock;

    static int check(void* opaque)
    {
        const auto* self = static_cast<const MediaInterrupt*>(opaque);
        return self->isStopped() || Clock::now() > self->m_deadline.load(std::memory_order_relaxed);
    }

    const std::chrono::milliseconds m_limit;
    std::atomic<Clock::time_point> m_deadline{};
    std::atomic<bool> m_stopped{false};
};
