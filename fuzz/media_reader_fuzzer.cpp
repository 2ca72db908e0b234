// links: plugboard::media
#include "media/av_scaler.h"
#include "media/media_reader.h"

#include <QTemporaryFile>

#include <algorithm>
#include <iostream>

namespace {

constexpr std::chrono::milliseconds kCallLimit(1000);
constexpr int kMostItems = 60;
constexpr int kMostPixels = 16 * 1024 * 1024; // of the pictures of a run, of which one may have more

/// Refuses after a while, which ends the reader's loop.
struct BoundedSink final : AVSourceSink
{
    bool pushFrame(AVFrame*) override { return ++items < mostItems; }
    bool pushPacket(AVPacket*) override { return ++items < mostItems; }
    int items = 0;
    int mostItems = kMostItems;
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
    if (source && source->width() > 0 && source->height() > 0)
        video.mostItems = std::min(kMostItems, 1 + kMostPixels / source->width() / source->height());
    if (codec == AV_CODEC_ID_NONE)
        reader.buildVideoChain(codec, AV_PIX_FMT_YUV420P, 64, 48, 25, video, scaling);
    else if (source)
        reader.buildVideoChain(source->codecId(), -1, source->width(), source->height(), 25, video, scaling);
    reader.buildAudioChain(2, 48000, audio);
    reader.readLoop(false);
    reader.flush();
}

} // namespace

/// The bytes are a media file: once through the raw chain, once through the chain that passes packets on. Pictures of
/// any size that the program decodes come; scripts/fuzz.sh limits the memory.
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
