// links: plugboard::media
#include "benchmarks/media_peer.h"

#include <QTemporaryDir>

namespace {

constexpr int kRounds = 3;

double packetsPerSecond(const QString& clip)
{
    return videoItemsPerSecond(clip, [](MediaReader& reader, NullSink& sink) {
        reader.buildVideoChain(AV_CODEC_ID_H264, -1, 640, 360, 30, sink);
    });
}

} // namespace

int main()
{
    av_log_set_level(AV_LOG_QUIET);
    const QTemporaryDir folder;
    const QString part = folder.filePath(QStringLiteral("part.mp4"));
    const QString clip = folder.filePath(QStringLiteral("clip.mp4"));
    constexpr int kPackets = 300 * 100;
    runFfmpeg(
        words(QStringLiteral("-f lavfi -i testsrc2=size=640x360:rate=30:duration=10 -c:v libx264 -preset veryfast "
                             "-bf 0 -pix_fmt yuv420p %1")
                  .arg(part)));
    runFfmpeg(words(QStringLiteral("-stream_loop 99 -i %1 -c copy %2").arg(part, clip)));
    const auto [ours, peer] = measureInTurn(
        kRounds, [&] { return packetsPerSecond(clip); },
        [&] {
            return kPackets /
                   ffmpegSeconds(words(QStringLiteral("-i %1 -c copy -bsf:v h264_mp4toannexb -f null -").arg(clip)));
        });
    report("pass_through", "packets/s", ours, "ffmpeg", peer, "ratio >= 1.0");
}
