#include "media/audio_resampler.h"

#include "media/channel_layout.h"

#include <iostream>
#include <utility>

extern "C" {
#include <libavutil/opt.h>
}

namespace {

constexpr AVSampleFormat kOutputFormat = AV_SAMPLE_FMT_S16;
constexpr std::uint64_t kFrontPair = 3; // Front left and front right.

} // namespace

AudioResampler::AudioResampler(int outputChannels, int outputRate, std::shared_ptr<SoundSpeed> speed)
    : m_outputChannels(outputChannels)
    , m_outputRate(outputRate)
    , m_speed(std::move(speed))
    , m_outputLayout(outputChannels == 2 ? kFrontPair : 0)
{}

bool AudioResampler::setOptions()
{
    SwrContext* context = m_resampler.get();
    const auto input = ffmpeg::ResamplerSide::Input;
    const auto output = ffmpeg::ResamplerSide::Output;
    const auto worked = [](int result, const char* option) {
        if (result < 0)
            std::cerr << "Error: Failed to set " << option << ": " << ffmpeg::errorText(result) << std::endl;
        return result >= 0;
    };
    const auto inputFormat = static_cast<AVSampleFormat>(m_inputSampleFormat);
    return worked(setResamplerChannelCount(context, input, m_inputChannels), "in_channel_count") &&
           worked(av_opt_set_int(context, "in_sample_rate", m_inputRate, 0), "in_sample_rate") &&
           worked(av_opt_set_sample_fmt(context, "in_sample_fmt", inputFormat, 0), "in_sample_fmt") &&
           worked(setResamplerChannelMask(context, input, m_inputChannels, m_inputLayout), "in_channel_layout") &&
           worked(setResamplerChannelCount(context, output, m_outputChannels), "out_channel_count") &&
           worked(av_opt_set_int(context, "out_sample_rate", m_outputRate, 0), "out_sample_rate") &&
           worked(av_opt_set_sample_fmt(context, "out_sample_fmt", kOutputFormat, 0), "out_sample_fmt") &&
           worked(setResamplerChannelMask(context, output, m_outputChannels, m_outputLayout), "out_channel_layout");
}

void AudioResampler::setDestinationFormat()
{
    m_destination->format = kOutputFormat;
    m_destination->sample_rate = m_outputRate;
    ffmpeg::setChannels(*m_destination, m_outputChannels, m_outputLayout);
}

bool AudioResampler::initialize()
{
    m_resampler.reset(swr_alloc());
    if (!m_resampler) {
        std::cerr << "Error: Failed to allocate SwrContext" << std::endl;
        return false;
    }
    if (!setOptions())
        return false;
    if (m_speed)
        av_opt_set_int(m_resampler.get(), "flags", SWR_FLAG_RESAMPLE, 0);
    std::cout << "AudioResampler configuration:\n"
              << "  Source: " << m_inputRate << "Hz, " << m_inputChannels << " channels, format=" << m_inputSampleFormat
              << "\n  Target: " << m_outputRate << "Hz, " << m_outputChannels << " channels, format=" << kOutputFormat
              << std::endl;
    const int result = swr_init(m_resampler.get());
    if (result < 0) {
        std::cerr << "Error: Failed to initialize SwrContext: " << ffmpeg::errorText(result) << std::endl;
        return false;
    }
    m_destination.reset(av_frame_alloc());
    if (!m_destination) {
        std::cerr << "Error: Failed to allocate destination frame" << std::endl;
        return false;
    }
    setDestinationFormat();
    m_destination->nb_samples = 0;
    std::cout << "AudioResampler initialized successfully" << std::endl;
    return true;
}

bool AudioResampler::prepareDestination(int samples)
{
    AVFrame* frame = m_destination.get();
    if (frame->buf[0]) {
        const int capacity = frame->linesize[0] / (av_get_bytes_per_sample(kOutputFormat) * m_outputChannels);
        if (samples > capacity) {
            av_frame_unref(frame);
            setDestinationFormat();
        }
    }
    frame->nb_samples = samples;
    if (frame->buf[0])
        return true;
    const int result = av_frame_get_buffer(frame, 0);
    if (result >= 0)
        return true;
    std::cerr << "Error: av_frame_get_buffer failed with error code: " << result
              << "\nError description: " << ffmpeg::errorText(result)
              << "\nFrame parameters:\n  format: " << frame->format << "\n  sample_rate: " << frame->sample_rate
              << "\n  channels: " << ffmpeg::channelCount(*frame)
              << "\n  channel_layout: " << ffmpeg::channelMask(*frame) << "\n  nb_samples: " << frame->nb_samples
              << std::endl;
    return false;
}

/// Whether the frame has the planes and bytes that reading it in the first frame's format would touch.
bool AudioResampler::holdsInput(const AVFrame& frame) const
{
    const auto inputFormat = static_cast<AVSampleFormat>(m_inputSampleFormat);
    const auto frameFormat = static_cast<AVSampleFormat>(frame.format);
    const bool planar = av_sample_fmt_is_planar(inputFormat);
    const int planes = planar ? m_inputChannels : 1;
    const int framePlanes = av_sample_fmt_is_planar(frameFormat) ? ffmpeg::channelCount(frame) : 1;
    const std::int64_t bytes =
        std::int64_t(frame.nb_samples) * av_get_bytes_per_sample(inputFormat) * (planar ? 1 : m_inputChannels);
    return frame.nb_samples >= 0 && planes <= framePlanes && bytes <= frame.linesize[0];
}

bool AudioResampler::pushFrame(AVFrame* frame)
{
    if (m_inputRate == 0) {
        m_inputRate = frame->sample_rate;
        m_inputChannels = ffmpeg::channelCount(*frame);
        m_inputSampleFormat = frame->format;
        m_inputLayout = ffmpeg::channelMask(*frame);
        if (m_outputLayout == 0)
            m_outputLayout = ffmpeg::defaultChannelMask(m_outputChannels);
        if (!initialize())
            return refuse("its sound cannot be converted");
    }
    if (!m_destination)
        return false;
    if (!holdsInput(*frame)) {
        std::cerr << "A sound frame that does not fit the stream's first format was left out" << std::endl;
        return true;
    }
    return convert(const_cast<const std::uint8_t**>(frame->extended_data), frame->nb_samples);
}

/// Converts a block and pushes what comes of it; without input, what is held back.
bool AudioResampler::convert(const std::uint8_t** input, int inputSamples)
{
    followSpeed();
    const std::int64_t delayed = swr_get_delay(m_resampler.get(), m_inputRate) + inputSamples;
    const int samples = static_cast<int>(av_rescale_rnd(delayed, m_outputRate, m_inputRate, AV_ROUND_UP));
    if (samples <= 0)
        return true; // An empty block, and nothing held back.
    if (!prepareDestination(samples))
        return false;
    const int produced = swr_convert(m_resampler.get(), m_destination->extended_data, samples, input, inputSamples);
    if (produced < 0) {
        std::cerr << "Error: swr_convert failed with error code: " << produced
                  << "\nError description: " << ffmpeg::errorText(produced) << std::endl;
        return false;
    }
    m_destination->nb_samples = produced;
    return AVSourceSink::pushFrame(m_destination.get());
}

/// Over ten seconds, so that single samples are parts per million; renewed with each block.
void AudioResampler::followSpeed()
{
    if (!m_speed)
        return;
    constexpr std::int64_t kSeconds = 10;
    constexpr std::int64_t kMillion = 1'000'000;
    const std::int64_t distance = kSeconds * m_outputRate;
    const std::int64_t delta = distance * m_speed->partsPerMillion / kMillion;
    swr_set_compensation(m_resampler.get(), int(delta), int(distance));
}

bool AudioResampler::flush()
{
    return !m_destination || convert(nullptr, 0);
}
