// links: plugboard::media
#include "media/av_scaler.h"
#include "media/media_reader.h"

#include <QTemporaryFile>

#include <iostream>

namespace {

constexpr std::chrono::milliseconds kCallLimit(1000);
constexpr int kMostItems = 60;

/// Refuses after a while, which ends the reader's loop.
struct BoundedSink final : AVSourceSink
{
    bool pushFrame(AVFrame*) override { return ++items < kMostItems; }
    bool pushPacket(AVPacket*) override { return ++items < kMostItems; }
    int items = 0;
};

void run(const std::string& path, AVCodecID codec)
{
    MediaInterrupt interrupt(kCallLimit);
    BoundedSink video;
    BoundedSink audio;
    MediaReader reader(path, kSelectBoth, interrupt, "file");
    if (!reader.open())
        return;
    reader.setThreadCounts(1, 1);
    ScalerSettings scaling;
    scaling.serverName.clear();
    const AVSource* source = reader.videoSource();
    if (source && (source->width() > 2048 || source->height() > 2048))
        return; // Large pictures are slow and no different.
    if (codec == AV_CODEC_ID_NONE)
        reader.buildVideoChain(codec, AV_PIX_FMT_YUV420P, 64, 48, 25, video, scaling);
    else if (source)
        reader.buildVideoChain(source->codecId(), -1, source->width(), source->height(), 25, video, scaling);
    reader.buildAudioChain(2, 48000, audio);
    reader.readLoop(false);
    reader.flush();
}

} // namespace

/// The bytes are a media file: once through the raw chain, once through the chain that passes packets on.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    av_log_set_level(AV_LOG_QUIET);
    std::cout.setstate(std::ios::badbit);
    std::cerr.setstate(std::ios::badbit);
    QTemporaryFile file;
    if (!file.open() || file.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size) || !file.flush())
        return 0;
    const std::string path = file.fileName().toStdString();
    run(path, AV_CODEC_ID_NONE);
    run(path, AV_CODEC_ID_H264);
    return 0;
}
