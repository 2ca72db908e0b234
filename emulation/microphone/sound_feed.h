// sound_feed.h: sound on its way from a source, which gives blocks when it likes, to a host, which takes it steadily.
#pragma once

#include "emulation/audio/audio_kind.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace audio {

/// Keeps what a source gives in its order. A little is in store before the first sound is played, so that blocks which
/// come late leave no gap. Of a live source it stays so: speed() says how the source is to be played so that the store
/// neither grows nor shrinks.
class SoundFeed
{
public:
    /// Puts the next block of whole frames that waits into `block`; false when none does.
    using Next = std::function<bool(std::vector<std::uint8_t>& block)>;

    /// In real time what is late is not wanted: less of a live source is kept, and what piles up of it is dropped.
    SoundFeed(const SoundFormat& format, bool isRealTime, Next next);

    /// Whether the source has a clock of its own; not unless it is said.
    void setLive(bool isLive);
    bool isLive() const { return m_isLive; }

    /// The next frames; silence where there are none.
    void read(std::int16_t* to, std::size_t frames);

    /// Lets that much sound pass, or what there is of it.
    void skip(std::size_t frames);

    /// Drops what is kept.
    void clear();

    /// In parts per million, as SoundSpeed has it; 0 for a source that is not live.
    int speed() const { return m_speed; }

    /// How often the sound broke off, and frames that were dropped because they piled up.
    std::uint64_t gaps() const { return m_gaps; }
    std::uint64_t dropped() const { return m_dropped; }

private:
    std::size_t waiting() const { return (m_samples.size() - m_first) / m_channels; } ///< frames
    void fetch();
    void drop(std::size_t frames);
    void dropLate();
    void steer(std::size_t frames);
    void fill(std::size_t frames);

    const std::size_t m_channels;
    const std::size_t m_rate;
    const bool m_isRealTime;
    const Next m_next;
    bool m_isLive = false;
    std::size_t m_store = 0; ///< frames that are there before any is played, and are kept of a live source
    std::size_t m_most = 0;  ///< frames; with more nothing is fetched
    std::vector<std::uint8_t> m_block;
    std::vector<std::int16_t> m_samples;
    std::size_t m_first = 0;   ///< of the samples that are not taken yet
    bool m_isFilling = true;   ///< the store is not there yet
    std::size_t m_filled = 0;  ///< frames that have passed since its first one came
    bool m_isSounding = false; ///< the last frame that was read was of the source
    double m_surplus = 0;      ///< frames above the store, over some seconds
    int m_speed = 0;
    std::uint64_t m_gaps = 0;
    std::uint64_t m_dropped = 0;
};

} // namespace audio
