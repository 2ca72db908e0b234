// media_interrupt.h: bounds every blocking call into an input, and stops it from another thread.
#pragma once

#include "media/ffmpeg_handles.h"

#include <atomic>
#include <chrono>

/// FFmpeg polls check() while it waits. A call that takes longer than the limit, or a stop, ends it as a failure.
/// stop() and what is said of waiting may come from any thread; the rest belongs to the thread that reads. Outlives
/// every input that uses it.
class MediaInterrupt
{
public:
    /// `commonStop`, which may be null and outlives this object, stops everything that shares it once it is true.
    explicit MediaInterrupt(std::chrono::milliseconds limit = std::chrono::seconds(10),
                            const std::atomic<bool>* commonStop = nullptr)
        : m_limit(limit)
        , m_commonStop(commonStop)
    {}
    MediaInterrupt(const MediaInterrupt&) = delete;
    MediaInterrupt& operator=(const MediaInterrupt&) = delete;

    /// Marks one blocking call while it lives: opening, searching stream information, reading one packet, closing.
    class Call
    {
    public:
        explicit Call(MediaInterrupt& interrupt) : m_interrupt(interrupt)
        {
            m_interrupt.m_begin.store(Clock::now(), std::memory_order_relaxed);
        }
        ~Call() { m_interrupt.m_begin.store(Clock::time_point(), std::memory_order_relaxed); }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

    private:
        MediaInterrupt& m_interrupt;
    };

    void stop() { m_stopped.store(true, std::memory_order_relaxed); }
    bool isStopped() const
    {
        return m_stopped.load(std::memory_order_relaxed) ||
               (m_commonStop && m_commonStop->load(std::memory_order_relaxed));
    }

    /// Whether a call has ended at the limit since an input was opened; what was read before may still come first.
    void beginInput() { m_expired.store(false, std::memory_order_relaxed); }
    bool hasExpired() const { return m_expired.load(std::memory_order_relaxed); }

    /// How long the call in progress has waited by now; 0 when none is.
    std::chrono::milliseconds waited() const
    {
        const Clock::time_point begin = m_begin.load(std::memory_order_relaxed);
        if (begin == Clock::time_point())
            return {};
        return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    }

    std::chrono::milliseconds limit() const { return m_limit; }

    /// Blocks until then or until a stop; false when stopped.
    bool sleepUntil(std::chrono::steady_clock::time_point end) const;

    AVIOInterruptCB callback() { return {&MediaInterrupt::check, this}; }

private:
    using Clock = std::chrono::steady_clock;

    static int check(void* opaque);

    const std::chrono::milliseconds m_limit;
    const std::atomic<bool>* const m_commonStop;
    std::atomic<Clock::time_point> m_begin{}; ///< Of the call in progress; the epoch when there is none.
    std::atomic<bool> m_stopped{false};
    std::atomic<bool> m_expired{false};
};
