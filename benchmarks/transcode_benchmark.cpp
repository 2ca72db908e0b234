// links: plugboard::media
#include "benchmarks/media_peer.h"
#include "media/av_encoder.h"

#include <string>

namespace {

constexpr int kRounds = 3;

double picturesPerSecond(const QString& clip, const ClipShape& shape)
{
    return videoItemsPerSecond(clip, [&shape](MediaReader& reader, NullSink& sink) {
        reader.buildVideoChain(AV_CODEC_ID_H264, -1, shape.targetWidth, shape.targetHeight, 30, sink, withoutServer());
        if (!reader.encoder() || reader.encoder()->name() != "libx264") {
            std::fprintf(stderr, "the peer's settings are those of libx264\n");
            std::exit(1);
        }
    });
}

} // namespace

int main()
{
    av_log_set_level(AV_LOG_QUIET);
    const QTemporaryDir folder;
    for (const ClipShape& shape : kClipShapes) {
        const QString clip = makeGrainyClip(folder, shape);
        const QStringList peerArguments = words(
            QStringLiteral("-threads 1 -flags low_delay -i %1 -an -filter_threads 1 -vf scale=%2:%3:flags=bilinear "
                           "-c:v libx264 -preset veryfast -tune zerolatency -g 30 -bf 0 -threads 1 -f null -")
                .arg(clip)
                .arg(shape.targetWidth)
                .arg(shape.targetHeight));
        const auto [ours, peer] = measureInTurn(
            kRounds, [&] { return picturesPerSecond(clip, shape); },
            [&] { return shape.pictures / ffmpegSeconds(peerArguments); });
        report((std::string("transcode ") + shape.name).c_str(), "pictures/s", ours, "ffmpeg", peer, "ratio >= 1.0");
    }
}
