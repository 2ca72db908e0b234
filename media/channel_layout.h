// channel_layout.h: channel counts and masks of FFmpeg's objects; the one place that knows how its versions differ.
#pragma once

#include "media/ffmpeg_handles.h"

#include <cstdint>

namespace ffmpeg {

int channelCount(const AVCodecParameters& parameters);
int channelCount(const AVFrame& frame);

/// One bit per speaker in the order of WAVEFORMATEXTENSIBLE; 0 when the channels have no such positions.
std::uint64_t channelMask(const AVCodecParameters& parameters);
std::uint64_t channelMask(const AVFrame& frame);

/// The mask usually meant by a count, 0 when there is none.
std::uint64_t defaultChannelMask(int count);

/// Gives an audio frame `count` channels at the positions of `mask` (0: unspecified positions).
void setChannels(AVFrame& frame, int count, std::uint64_t mask);

enum class ResamplerSide
{
    Input,
    Output
};

/// Sets the channel count, or the channel positions, of one side; negative on failure, as FFmpeg's option setters.
int setResamplerChannelCount(SwrContext* resampler, ResamplerSide side, int count);
int setResamplerChannelMask(SwrContext* resampler, ResamplerSide side, int count, std::uint64_t mask);

} // namespace ffmpeg
