#include "emulation/microphone/sound_feed.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace audio {

namespace {

constexpr std::size_t kThousand = 1000;
constexpr std::size_t kShortStore = 80; // milliseconds, as those that follow
constexpr std::size_t kLiveStore = 250;
constexpr std::size_t kMostTime = 250; // of a source that waits
constexpr std::size_t kMostLiveTime = 1000;
constexpr std::size_t kLate = 100; // above the store

constexpr double kSteadySeconds = 4;         // over which the store is measured: blocks come in bursts
constexpr double kCorrection = 50'000;       // parts per million for a second of surplus
constexpr double kLargestCorrection = 5'000; // half a percent is heard by nobody

} // namespace

SoundFeed::SoundFeed(const SoundFormat& format, bool isRealTime, Next next)
    : m_channels(std::size_t(format.channels))
    , m_rate(std::size_t(format.rate))
    , m_isRealTime(isRealTime)
    , m_next(std::move(next))
{
    setLive(false);
}

void SoundFeed::setLive(bool isLive)
{
    m_isLive = isLive;
    m_store = m_rate * (isLive && !m_isRealTime ? kLiveStore : kShortStore) / kThousand;
    m_most = m_rate * (isLive ? kMostLiveTime : kMostTime) / kThousand;
    if (!isLive)
        m_speed = 0;
}

void SoundFeed::fetch()
{
    if (m_first > m_samples.size() / 2) { // seldom, since what waits moves
        m_samples.erase(m_samples.begin(), m_samples.begin() + std::ptrdiff_t(m_first));
        m_first = 0;
    }
    while (waiting() < m_most && m_next(m_block)) {
        const std::size_t begin = m_samples.size();
        m_samples.resize(begin + m_block.size() / sizeof(std::int16_t));
        std::memcpy(m_samples.data() + begin, m_block.data(), (m_samples.size() - begin) * sizeof(std::int16_t));
    }
}

void SoundFeed::drop(std::size_t frames)
{
    m_first += std::min(frames, waiting()) * m_channels;
}

void SoundFeed::clear()
{
    m_samples.clear();
    m_first = 0;
    m_isFilling = true;
    m_isSounding = false;
    m_surplus = 0;
    m_speed = 0;
}

void SoundFeed::skip(std::size_t frames)
{
    for (;;) {
        fetch();
        const std::size_t now = std::min(frames, waiting());
        if (now == 0)
            return;
        drop(now);
        frames -= now;
    }
}

void SoundFeed::read(std::int16_t* to, std::size_t frames)
{
    fetch();
    if (m_isLive)
        dropLate();
    fill(frames);
    const std::size_t count = m_isFilling ? 0 : std::min(frames, waiting());
    std::copy_n(m_samples.begin() + std::ptrdiff_t(m_first), count * m_channels, to);
    std::fill_n(to + count * m_channels, (frames - count) * m_channels, std::int16_t(0));
    drop(count);
    const bool sounds = frames == 0 ? m_isSounding : count == frames;
    if (std::exchange(m_isSounding, sounds) && !sounds) {
        ++m_gaps;
        m_isFilling = true;
    }
    steer(frames);
}

/// What is shorter than the store is played once it has waited for as long.
void SoundFeed::fill(std::size_t frames)
{
    m_filled = m_isFilling && waiting() > 0 ? m_filled + frames : 0;
    m_isFilling = m_isFilling && waiting() < m_store && m_filled <= m_store;
}

void SoundFeed::dropLate()
{
    if (!m_isRealTime || waiting() <= m_store + m_rate * kLate / kThousand)
        return;
    const std::size_t late = waiting() - m_store;
    m_dropped += late;
    drop(late);
    m_surplus = 0;
}

void SoundFeed::steer(std::size_t frames)
{
    if (!m_isLive)
        return;
    if (m_isFilling) {
        m_surplus = 0;
    } else {
        const double share = std::min(1.0, double(frames) / (double(m_rate) * kSteadySeconds));
        m_surplus += (double(waiting()) - double(m_store) - m_surplus) * share;
    }
    const double wanted = -m_surplus / double(m_rate) * kCorrection;
    m_speed = int(std::lround(std::clamp(wanted, -kLargestCorrection, kLargestCorrection)));
}

} // namespace audio
