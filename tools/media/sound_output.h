// sound_output.h: the system's own way to loudspeakers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

/// Interleaved signed 16-bit samples to the system's usual sound device. Used by one thread.
class SoundOutput
{
public:
    virtual ~SoundOutput() = default;

    /// Waits while the device has no room. False when the device is gone.
    virtual bool write(const std::uint8_t* samples, std::size_t bytes) = 0;

    /// Null where there is no device that takes such sound. `rate` is in Hz.
    static std::unique_ptr<SoundOutput> open(int channels, int rate);

    /// How much sound a device is asked to hold, which is how late it is heard.
    static constexpr int kLatencyMilliseconds = 80;
};
