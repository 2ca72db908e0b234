// links: plugboard::media
#include "benchmarks/media_peer.h"
#include "benchmarks/report.h"
#include "media/av_encoder.h"
#include "media/av_scaler.h"
#include "media/media_reader.h"

#include <QTemporaryDir>

namespace {

constexpr int kRounds = 3;

double picturesPerSecond(const QString& clip)
{
    const QuietOutput quiet;
    MediaInterrupt interrupt;
    NullSink sink;
    MediaReader reader(clip.toStdString(), kSelectVideo, interrupt);
    if (!reader.open())
        std::exit(1);
    reader.setThreadCounts(1, 1);
    ScalerSettings scaling;
    scaling.serverName.clear();
    reader.buildVideoChain(AV_CODEC_ID_H264, -1, 854, 480, 30, sink, scaling);
    if (!reader.encoder() || reader.encoder()->name() != "libx264") {
        std::fprintf(stderr, "the peer's settings are those of libx264\n");
        std::exit(1);
    }
    reader.rewind();
    const double time = millisecondsOf([&] {
        reader.readLoop(false);
        reader.flush();
    });
    return 1000.0 * double(sink.items) / time;
}

} // namespace

int main()
{
    av_log_set_level(AV_LOG_QUIET);
    const QTemporaryDir folder;
    const QString clip = folder.filePath(QStringLiteral("clip.mp4"));
    constexpr int kPictures = 150;
    runFfmpeg(words(QStringLiteral("-f lavfi -i testsrc2=size=1280x720:rate=30:duration=%1 -vf noise=alls=6:allf=t "
                                   "-c:v libx264 -preset veryfast -bf 0 -pix_fmt yuv420p %2")
                        .arg(kPictures / 30)
                        .arg(clip)));
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
