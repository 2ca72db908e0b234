// links: plugboard::media
#include "benchmarks/media_peer.h"

#include <algorithm>
#include <string>

namespace {

constexpr int kRounds = 3;
constexpr int kRepeats = 30;
constexpr int kLeastPackets = 6000; // Less is done too soon to be measured.

double packetsPerSecond(const QString& clip, const ClipShape& shape)
{
    return videoItemsPerSecond(clip, [&shape](MediaReader& reader, NullSink& sink) {
        reader.buildVideoChain(AV_CODEC_ID_H264, -1, shape.width, shape.height, 30, sink);
    });
}

} // namespace

int main()
{
    av_log_set_level(AV_LOG_QUIET);
    const QTemporaryDir folder;
    for (const ClipShape& shape : kClipShapes) {
        const QString part = makeGrainyClip(folder, shape);
        const QString clip = folder.filePath(QStringLiteral("long.mp4"));
        const int repeats = std::max(kRepeats, kLeastPackets / shape.pictures);
        runFfmpeg(words(QStringLiteral("-stream_loop %1 -i %2 -c copy %3").arg(repeats - 1).arg(part, clip)));
        const QStringList peerArguments =
            words(QStringLiteral("-i %1 -c copy -bsf:v h264_mp4toannexb -f null -").arg(clip));
        const auto [ours, peer] = measureInTurn(
            kRounds, [&] { return packetsPerSecond(clip, shape); },
            [&] { return shape.pictures * repeats / ffmpegSeconds(peerArguments); });
        report((std::string("pass_through ") + shape.name).c_str(), "packets/s", ours, "ffmpeg", peer, "ratio >= 1.0");
    }
}
