#include "media/av_source.h"

#include "media/channel_layout.h"

#include <initializer_list>

namespace {

constexpr int kMostPicturesPerSecond = 1000; // Beyond, it is the clock of a container that does not know the rate.

AVRational pictureRateOf(const AVStream& stream)
{
    for (const AVRational rate : {stream.avg_frame_rate, stream.r_frame_rate}) {
        if (rate.num > 0 && rate.den > 0 && av_cmp_q(rate, {kMostPicturesPerSecond, 1}) <= 0)
            return rate;
    }
    return {0, 1};
}

} // namespace

AVSource::AVSource(bool isVideo, const AVCodecParameters& parameters, const AVStream& stream)
    : m_isVideo(isVideo)
    , m_streamIndex(stream.index)
    , m_timeBase(stream.time_base)
    , m_pictureRate(pictureRateOf(stream))
{
    m_codecId = parameters.codec_id;
    m_codecParameters.reset(avcodec_parameters_alloc());
    if (m_codecParameters && avcodec_parameters_copy(m_codecParameters.get(), &parameters) < 0)
        m_codecParameters.reset();
    if (isVideo) {
        m_inputWidth = parameters.width;
        m_inputHeight = parameters.height;
        m_pixelFormat = parameters.format;
    } else {
        m_channels = ffmpeg::channelCount(parameters);
        m_sampleRate = parameters.sample_rate;
        m_sampleFormat = parameters.format;
        m_channelLayout = ffmpeg::channelMask(parameters);
    }
}

void AVSource::setPicture(int width, int height, int pixelFormat)
{
    setInputSize(width, height);
    m_pixelFormat = pixelFormat;
    if (m_codecParameters) {
        m_codecParameters->width = width;
        m_codecParameters->height = height;
        m_codecParameters->format = pixelFormat;
    }
}
