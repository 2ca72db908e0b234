// audio_resampler.h: converts sound to signed 16-bit interleaved samples of a fixed rate and channel count.
#pragma once

#include "media/av_source_sink.h"
#include "media/end_of_stream.h"
#include "media/sound_speed.h"

#include <cstdint>
#include <memory>

/// The first frame fixes the input format for the stage's life. A later frame of another format is converted as if it
/// had the first one's; one that is too small for that is left out. Messages go to the standard streams.
class AudioResampler final : public AVSourceSink, public HoldingStage
{
public:
    /// Two channels are front left and front right; other counts have their default positions. With a `speed` every
    /// sample is made anew, also where the rates are equal, so that it can change without a gap.
    AudioResampler(int outputChannels, int outputRate, std::shared_ptr<SoundSpeed> speed = {});

    bool pushFrame(AVFrame* frame) override;

    /// Pushes the samples that the conversion of the rate still holds. It takes no frame afterwards.
    bool flush() override;

    int outputRate() const { return m_outputRate; }
    int outputChannels() const { return m_outputChannels; }

private:
    bool initialize();
    bool setOptions();
    void setDestinationFormat();
    bool prepareDestination(int samples);
    bool convert(const std::uint8_t** input, int inputSamples);
    void followSpeed();
    bool holdsInput(const AVFrame& frame) const;

    const int m_outputChannels;
    const int m_outputRate;
    const std::shared_ptr<SoundSpeed> m_speed;
    std::uint64_t m_outputLayout = 0;
    int m_inputRate = 0; ///< 0 until the first frame.
    int m_inputChannels = 0;
    int m_inputSampleFormat = -1;
    std::uint64_t m_inputLayout = 0;
    ffmpeg::Resampler m_resampler;
    ffmpeg::Frame m_destination;
};
