#include "media/audio_resampler.h"
#include "media/av_bs_filter.h"
#include "media/av_decoder.h"
#include "media/av_encoder.h"
#include "media/av_scaler.h"
#include "media/av_source_sink_dummy.h"
#include "media/av_text_filter.h"
#include "media/end_of_stream.h"
#include "media/media_reader.h"
#include "media/opencv_text_filter.h"

#include <initializer_list>
#include <utility>

namespace {

void chainAll(std::initializer_list<AVSourceSink*> stages)
{
    for (auto stage = stages.begin(); std::next(stage) != stages.end(); ++stage)
        (*stage)->chain(**std::next(stage));
}

} // namespace

template<typename Stage, typename... Arguments>
Stage& MediaReader::addStage(Arguments&&... arguments)
{
    auto stage = std::make_unique<Stage>(std::forward<Arguments>(arguments)...);
    Stage& reference = *stage;
    m_stages.push_back(std::move(stage));
    return reference;
}

bool MediaReader::buildVideoChain(AVCodecID codec, int pixelFormat, int width, int height, int frameRate,
                                  AVSourceSink& sink)
{
    return buildVideoChain(codec, pixelFormat, width, height, frameRate, sink, ScalerSettings());
}

bool MediaReader::buildVideoChain(AVCodecID codec, int pixelFormat, int width, int height, int frameRate,
                                  AVSourceSink& sink, const ScalerSettings& scaling)
{
    if (!m_video)
        return true;
    if (codec == AV_CODEC_ID_NONE) {
        m_videoDecoder = &addStage<AVDecoder>(m_video->codecId());
        m_videoDecoder->setThreadCount(m_decoderThreads);
        m_videoDecoder->open(m_video->codecParameters());
        m_scaler = &addStage<AVScaler>(pixelFormat, width, height, kScaleAspectFit, scaling);
        auto& text = addStage<OpenCVTextFilter>(width, height);
        text.setPictureArea([scaler = m_scaler] { return scaler->pictureArea(); });
        chainAll({m_video.get(), m_videoDecoder, m_scaler, &text, &sink});
        return true;
    }

    auto& filter = addStage<AVBSFilter>(*m_video);
    sink.setInputSize(width, height);
    const AVRational sourceRate = m_video->pictureRate();
    // A whole number stands for the rate that it is rounded from: 30 for 29.97.
    const bool isSourceRate = av_rescale(1, sourceRate.num, sourceRate.den) == frameRate;
    const bool hasFormat = pixelFormat == -1 || pixelFormat == m_video->pixelFormat();
    if (m_video->codecId() == codec && m_video->width() == width && m_video->height() == height &&
        !(m_exactOutput && !(isSourceRate && hasFormat))) {
        chainAll({m_video.get(), &filter, &sink});
        return true;
    }
    const int encodedFormat = pixelFormat == -1 ? defaultPixelFormat(codec) : pixelFormat;
    m_videoDecoder = &addStage<AVDecoder>(m_video->codecId());
    m_videoDecoder->setThreadCount(m_decoderThreads);
    m_videoDecoder->open(m_video->codecParameters());
    m_scaler = &addStage<AVScaler>(encodedFormat, width, height, kScaleAspectFit, scaling);
    // The overlays exist for this chain too and stay out of it: an encoded picture carries no text.
    addStage<OpenCVTextFilter>(m_video->width(), m_video->height());
    addStage<AVTextFilter>();
    auto& joint = addStage<AVSourceSinkDummy>();
    EncoderSettings encoding{codec, encodedFormat, width, height, frameRate, m_encoderThreads};
    if (isSourceRate)
        encoding.exactRate = sourceRate;
    else if (m_exactOutput)
        encoding.sourceRate = sourceRate;
    m_encoder = &addStage<AVEncoder>(encoding);
    chainAll({m_video.get(), m_videoDecoder, m_scaler, &joint, m_encoder, &sink});
    return true;
}

bool MediaReader::buildAudioChain(int channels, int sampleRate, AVSourceSink& sink, std::shared_ptr<SoundSpeed> speed)
{
    if (!m_audio)
        return true;
    m_audioDecoder = &addStage<AVDecoder>(m_audio->codecId());
    m_audioDecoder->setThreadCount(m_decoderThreads);
    m_audioDecoder->open(m_audio->codecParameters());
    auto& resampler = addStage<AudioResampler>(channels, sampleRate, std::move(speed));
    chainAll({m_audio.get(), m_audioDecoder, &resampler, &sink});
    return true;
}

void MediaReader::flush()
{
    for (AVSource* head : {m_video.get(), m_audio.get()}) {
        if (head)
            endStream(*head);
    }
}
