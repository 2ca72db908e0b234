// picture_clock.h: when each picture of a source is due.
#pragma once

#include "media/ffmpeg_handles.h"

#include <chrono>
#include <cstdint>

/// Counts pictures from a start and gives their times from the exact rate, so that no rounding adds up.
class PictureClock
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// The next picture is due at `start`, those after it at `rate` per second.
    void restart(Time start, AVRational rate)
    {
        m_start = start;
        m_rate = rate;
        m_pictures = 0;
    }

    /// When the next picture is due.
    Time due() const
    {
        const std::int64_t nanoseconds = av_rescale(m_pictures, std::int64_t(1'000'000'000) * m_rate.den, m_rate.num);
        return m_start + std::chrono::nanoseconds(nanoseconds);
    }

    /// The next picture has been shown.
    void advance() { ++m_pictures; }

    std::chrono::nanoseconds period() const
    {
        return std::chrono::nanoseconds(av_rescale(1'000'000'000, m_rate.den, m_rate.num));
    }

    AVRational rate() const { return m_rate; }

private:
    Time m_start;
    AVRational m_rate = {30, 1};
    std::int64_t m_pictures = 0;
};
