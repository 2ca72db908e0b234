// level_meter.h: how loud sound is.
#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>

namespace audio {

/// Measures blocks of a tenth of a second, all channels together.
class LevelMeter
{
public:
    LevelMeter(int channels, int rate) : m_blockSamples(std::size_t(channels) * std::size_t(rate) / 10) {}

    void add(const std::int16_t* samples, std::size_t count);
    void clear();

    /// Of the last whole block, in dB below a sine of full scale; for example "level -12.0 dB, peak -9.0 dB", or
    /// "silent".
    QString text() const;

private:
    const std::size_t m_blockSamples;
    std::size_t m_counted = 0;
    double m_squares = 0;
    int m_highest = 0;
    double m_level = 0; ///< mean of the squares
    int m_peak = 0;
};

} // namespace audio
