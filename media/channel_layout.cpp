#include "media/channel_layout.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace ffmpeg {

namespace {

std::uint64_t maskOf(const AVChannelLayout& layout)
{
    return layout.order == AV_CHANNEL_ORDER_NATIVE ? layout.u.mask : 0;
}

/// A layout without positions when the mask is empty or does not have `count` bits.
AVChannelLayout layoutOf(int count, std::uint64_t mask)
{
    AVChannelLayout layout = {};
    if (mask == 0 || av_channel_layout_from_mask(&layout, mask) != 0 || layout.nb_channels != count) {
        layout = {};
        layout.order = AV_CHANNEL_ORDER_UNSPEC;
        layout.nb_channels = count;
    }
    return layout;
}

} // namespace

int channelCount(const AVCodecParameters& parameters)
{
    return parameters.ch_layout.nb_channels;
}

int channelCount(const AVFrame& frame)
{
    return frame.ch_layout.nb_channels;
}

std::uint64_t channelMask(const AVCodecParameters& parameters)
{
    return maskOf(parameters.ch_layout);
}

std::uint64_t channelMask(const AVFrame& frame)
{
    return maskOf(frame.ch_layout);
}

std::uint64_t defaultChannelMask(int count)
{
    AVChannelLayout layout = {};
    av_channel_layout_default(&layout, count);
    return maskOf(layout);
}

void setChannels(AVFrame& frame, int count, std::uint64_t mask)
{
    av_channel_layout_uninit(&frame.ch_layout);
    frame.ch_layout = layoutOf(count, mask);
#if LIBAVUTIL_VERSION_MAJOR < 59
    // Old readers of a frame look at its own pair of fields, which FFmpeg fills by itself only in its decoders.
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wdeprecated-declarations\"");
    frame.channels = count;
    frame.channel_layout = mask;
    _Pragma("GCC diagnostic pop")
#endif
}

#if LIBSWRESAMPLE_VERSION_MAJOR < 5

int setResamplerChannelCount(SwrContext* resampler, ResamplerSide side, int count)
{
    return av_opt_set_int(resampler, side == ResamplerSide::Input ? "in_channel_count" : "out_channel_count", count, 0);
}

int setResamplerChannelMask(SwrContext* resampler, ResamplerSide side, int, std::uint64_t mask)
{
    return av_opt_set_int(resampler, side == ResamplerSide::Input ? "in_channel_layout" : "out_channel_layout",
                          static_cast<std::int64_t>(mask), 0);
}

#else

int setResamplerChannelCount(SwrContext* resampler, ResamplerSide side, int count)
{
    return setResamplerChannelMask(resampler, side, count, 0);
}

int setResamplerChannelMask(SwrContext* resampler, ResamplerSide side, int count, std::uint64_t mask)
{
    AVChannelLayout layout = layoutOf(count, mask);
    if (layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&layout, count);
    return av_opt_set_chlayout(resampler, side == ResamplerSide::Input ? "in_chlayout" : "out_chlayout", &layout, 0);
}

#endif

} // namespace ffmpeg
