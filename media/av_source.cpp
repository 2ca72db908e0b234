#include "media/av_source.h"

#include "media/channel_layout.h"

AVSource::AVSource(bool isVideo, const AVCodecParameters& parameters, const AVStream& stream)
    : m_isVideo(isVideo)
    , m_streamIndex(stream.index)
    , m_timeBase(stream.time_base)
    , m_averageRate(stream.avg_frame_rate)
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
