#include "media/frame_rate_counter.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::int64_t kSecond = 1'000'000'000; // Nanoseconds.

} // namespace

FrameRateCounter::FrameRateCounter(Clock clock) : m_clock(std::move(clock)), m_stamps(64)
{
    m_start = m_last = m_clock().count();
}

void FrameRateCounter::append(std::int64_t stamp)
{
    if (m_size == m_stamps.size()) {
        std::rotate(m_stamps.begin(), m_stamps.begin() + static_cast<std::ptrdiff_t>(m_first), m_stamps.end());
        m_first = 0;
        m_stamps.resize(2 * m_size);
    }
    m_stamps[(m_first + m_size) % m_stamps.size()] = stamp;
    ++m_size;
}

void FrameRateCounter::update()
{
    const std::int64_t now = m_clock().count();
    ++m_frameCount;
    append(now);
    while (now - m_stamps[m_first] > kSecond) {
        m_first = (m_first + 1) % m_stamps.size();
        --m_size;
    }
    m_elapsed = static_cast<double>(now - m_start) / 1e9;
    m_accumulated += static_cast<double>(now - m_last) / 1e9;
    m_last = now;
}
