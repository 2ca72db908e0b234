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
        const std::int64_t scaled = m_pictures * m_rate.den;
        return m_start + std::chrono::seconds(scaled / m_rate.num) + part(scaled % m_rate.num);
    }

    /// The next picture has been shown.
    void advance() { ++m_pictures; }

    std::chrono::nanoseconds period() const { return part(m_rate.den); }

    AVRational rate() const { return m_rate; }

private:
    /// That many parts of a second, of which there are as many as the rate's numerator; rounded to the nearest.
    std::chrono::nanoseconds part(std::int64_t parts) const
    {
        return std::chrono::nanoseconds((parts * 1'000'000'000 + m_rate.num / 2) / m_rate.num);
    }

    Time m_start;
    AVRational m_rate = {30, 1};
    std::int64_t m_pictures = 0;
};
