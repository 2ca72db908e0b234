// sound_speed.h: how a source whose clock is not the listener's is kept in step with it.
#pragma once

#include <atomic>

/// Shared between whoever sees sound pile up or run out, and the resampler. Any thread.
struct SoundSpeed
{
    /// How many more samples are made of a second of the source than its clock says: above 0 where its clock is slow.
    std::atomic<int> partsPerMillion{0};
};
