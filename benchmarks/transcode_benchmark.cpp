// links: plugboard::media
#include "benchmarks/media_peer.h"
#include "media/av_encoder.h"

#include <QTemporaryDir>

namespace {

constexpr int kRounds = 3;

double picturesPerSecond(const QString& clip)
{
    return videoItemsPerSecond(clip, [](MediaReader& reader, NullSink& sink) {
        reader.buildVideoChain(AV_CODEC_ID_H264, -1, 854, 480, 30, sink, withoutServer());
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
    const QString clip = folder.filePath(QStringLiteral("clip.mp4"));
    constexpr int kPictures = 150;
    makeGrainyClip(clip, kPictures);
    const auto [ours, peer] = measureInTurn(
        kRounds, [&] { return picturesPerSecond(clip); },
        [&] {
            return kPictures /
                   ffmpegSeconds(words(QStringLiteral("-threads 1 -flags low_delay -i %1 -an -filter_threads 1 "
                                                      "-vf scale=854:480:flags=bilinear -c:v libx264 -preset veryfast "
                                                      "-tune zerolatency -g 30 -bf 0 -threads 1 -f null -")
                                           .arg(clip)));
        });
    report("transcode", "pictures/s", ours, "ffmpeg", peer, "ratio >= 1.0");
}
