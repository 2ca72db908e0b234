// audio_kind.h: what tells one microphone or speaker from another.
#pragma once

#include <cstddef>
#include <cstdint>

namespace audio {

/// Of the USB Audio Class.
enum class ClassVersion : std::uint8_t
{
    V1, ///< 1.0
    V2  ///< 2.0
};

enum class Direction : std::uint8_t
{
    ToHost,  ///< a microphone
    FromHost ///< a speaker
};

/// Signed samples of 16 bits, little-endian, interleaved. A frame is one sample of each channel.
struct SoundFormat
{
    int channels = 2;
    int rate = 48000; ///< frames a second

    std::size_t frameBytes() const { return std::size_t(channels) * 2; }
};

struct AudioKind
{
    Direction direction = Direction::ToHost;
    ClassVersion version = ClassVersion::V1;
    SoundFormat format;
};

} // namespace audio
