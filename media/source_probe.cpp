#include "media/source_probe.h"

#include "media/av_decoder.h"
#include "media/log.h"
#include "media/media_reader.h"

#include <algorithm>

namespace {

int selectorOf(SourceProbe::Kind kind)
{
    switch (kind) {
    case SourceProbe::Kind::Video:
        return kSelectVideo;
    case SourceProbe::Kind::Audio:
        return kSelectAudio;
    case SourceProbe::Kind::VideoAndAudio:
        break;
    }
    return kSelectBoth;
}

/// Keeps the first frame that comes, as a preview, and refuses it, which ends reading.
class FirstFrame final : public AVSourceSink
{
public:
    FirstFrame(int mostWidth, int mostHeight) : m_mostWidth(mostWidth), m_mostHeight(mostHeight) {}

    bool pushFrame(AVFrame* frame) override
    {
        const double shrink = std::min({1.0, double(m_mostWidth) / frame->width, double(m_mostHeight) / frame->height});
        const int width = std::max(1, int(frame->width * shrink));
        const int height = std::max(1, int(frame->height * shrink));
        const ffmpeg::Scaler scaler(sws_getContext(frame->width, frame->height, AVPixelFormat(frame->format), width,
                                                   height, AV_PIX_FMT_BGRA, SWS_AREA, nullptr, nullptr, nullptr));
        if (!scaler)
            return refuse("no preview of this pixel format");
        constexpr int kBytesPerPixel = 4;
        const int rowSize = width * kBytesPerPixel;
        // The scaler may write a little beyond a row, into the next one or behind the last.
        constexpr int kOverrun = 64;
        picture = {width, height, QByteArray(rowSize * height + kOverrun, '\0')};
        std::uint8_t* planes[] = {reinterpret_cast<std::uint8_t*>(picture.pixels.data()), nullptr, nullptr, nullptr};
        const int rowSizes[] = {rowSize, 0, 0, 0};
        sws_scale(scaler.get(), frame->data, frame->linesize, 0, frame->height, planes, rowSizes);
        picture.pixels.truncate(rowSize * height);
        return false;
    }

    PreviewPicture picture;

private:
    const int m_mostWidth;
    const int m_mostHeight;
};

class FFmpegProbe final : public SourceProbe
{
public:
    explicit FFmpegProbe(std::chrono::milliseconds limit) : m_interrupt(limit) {}

    SourceProbeResult probe(const QString& source, Kind kind) override;
    PreviewPicture firstPicture(int mostWidth, int mostHeight) override;
    void cancel() override { m_interrupt.stop(); }

private:
    MediaInterrupt m_interrupt;
    std::unique_ptr<MediaReader> m_reader; ///< from probe() to firstPicture()
};

PreviewPicture FFmpegProbe::firstPicture(int mostWidth, int mostHeight)
{
    const std::unique_ptr<MediaReader> reader = std::move(m_reader);
    if (!reader || !reader->videoSource())
        return {};
    AVDecoder decoder(reader->videoSource()->codecId());
    FirstFrame first(mostWidth, mostHeight);
    reader->videoSource()->chain(decoder);
    decoder.chain(first);
    if (decoder.open(reader->videoSource()->codecParameters())) {
        reader->readLoop(false);
        if (first.picture.width == 0)
            reader->flush(); // all of a short source may still be in the decoder
    }
    return first.picture;
}

SourceProbeResult FFmpegProbe::probe(const QString& source, Kind kind)
{
    SourceProbeResult result;
    m_reader = std::make_unique<MediaReader>(source.toStdString(), selectorOf(kind), m_interrupt);
    MediaReader& reader = *m_reader;
    result.opened = reader.open();
    if (!result.opened) {
        result.error = QString::fromStdString(reader.error());
        m_reader.reset();
        return result;
    }
    result.frameRate = reader.frameRate();
    if (const AVSource* video = reader.videoSource()) {
        result.hasVideo = true;
        result.width = video->width();
        result.height = video->height();
    }
    if (const AVSource* audio = reader.audioSource()) {
        result.hasAudio = true;
        result.channels = audio->channels();
        result.sampleRate = audio->sampleRate();
    }
    qCInfo(mediaLog) << "Source looked at: video" << result.width << "x" << result.height << "sound" << result.channels
                     << "channels," << result.sampleRate << "Hz";
    return result;
}

} // namespace

std::unique_ptr<SourceProbe> makeSourceProbe(std::chrono::milliseconds limit)
{
    return std::make_unique<FFmpegProbe>(limit);
}
