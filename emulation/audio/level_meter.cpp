#include "emulation/audio/level_meter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace audio {

namespace {

constexpr double kFullScale = 32768.0;

QString decibels(double ratio)
{
    return QStringLiteral("%1 dB").arg(10 * std::log10(ratio), 0, 'f', 1);
}

} // namespace

void LevelMeter::add(const std::int16_t* samples, std::size_t count)
{
    for (const std::int16_t* sample = samples; sample != samples + count; ++sample) {
        m_squares += double(*sample) * *sample;
        m_highest = std::max(m_highest, std::abs(int(*sample)));
        if (++m_counted < m_blockSamples)
            continue;
        m_level = m_squares / double(m_blockSamples);
        m_peak = m_highest;
        m_squares = 0;
        m_highest = 0;
        m_counted = 0;
    }
}

void LevelMeter::clear()
{
    m_counted = 0;
    m_squares = 0;
    m_highest = 0;
    m_level = 0;
    m_peak = 0;
}

QString LevelMeter::text() const
{
    if (m_peak == 0)
        return QStringLiteral("silent");
    const double peak = m_peak / kFullScale;
    return QStringLiteral("level %1, peak %2")
        .arg(decibels(2 * m_level / (kFullScale * kFullScale)), decibels(peak * peak));
}

} // namespace audio
