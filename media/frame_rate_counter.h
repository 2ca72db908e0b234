// frame_rate_counter.h: counts frames and their rate for the overlays.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <vector>

class FrameRateCounter
{
public:
    using Clock = std::function<std::chrono::nanoseconds()>;

    /// Counting starts now. `clock` is steady.
    explicit FrameRateCounter(Clock clock = steadyNow);

    /// Once per frame.
    void update();

    std::uint32_t frameCount() const { return m_frameCount; }

    /// Frames of the last second.
    double currentRate() const { return static_cast<double>(m_size); }

    /// Frames per second since the start; 0 while no time has passed.
    double averageRate() const { return m_accumulated > 0 ? m_frameCount / m_accumulated : 0; }

    /// Seconds since the start.
    double elapsed() const { return m_elapsed; }

private:
    static std::chrono::nanoseconds steadyNow() { return std::chrono::steady_clock::now().time_since_epoch(); }
    void append(std::int64_t stamp);

    Clock m_clock;
    std::uint32_t m_frameCount = 0;
    std::vector<std::int64_t> m_stamps; ///< Ring of nanoseconds; grows only with the rate.
    std::size_t m_first = 0;
    std::size_t m_size = 0;
    std::int64_t m_start = 0;
    std::int64_t m_last = 0;
    double m_elapsed = 0;
    double m_accumulated = 0;
};
