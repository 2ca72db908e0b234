// links: plugboard::media
#include "benchmarks/media_peer.h"
#include "benchmarks/report.h"
#include "media/av_decoder.h"
#include "media/av_scaler.h"
#include "media/media_reader.h"

#include <QTemporaryDir>

namespace {

constexpr int kRounds = 9;
constexpr int kWidth = 854;
constexpr int kHeight = 480;

/// Pictures a second of the whole chain, or of decoding alone.
double picturesPerSecond(const QString& clip, bool decodingOnly)
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
    AVDecoder decoder(reader.videoSource()->codecId());
    if (decodingOnly) {
        decoder.setThreadCount(1);
        decoder.open(reader.videoSource()->codecParameters());
        reader.videoSource()->chain(decoder);
        decoder.chain(sink);
    } else {
        reader.buildVideoChain(AV_CODEC_ID_NONE, AV_PIX_FMT_YUV420P, kWidth, kHeight, 30, sink, scaling);
    }
    reader.rewind();
    const double time = millisecondsOf([&] { reader.readLoop(false); });
    return 1000.0 * double(sink.items) / time;
}

double peerPicturesPerSecond(const QString& clip, int pictures)
{
    const QString filter =
        QStringLiteral("scale=%1:%2:flags=bilinear,drawtext=text='FPS\\:%{n}.0 FPS_AVG\\:312.4 FRAME_CNT\\:%{n} "
                       "TIME\\:%{pts}\npic\\:0,0,854,480':fontcolor=white:fontsize=32:box=1:boxcolor=red:x=10:y=10")
            .arg(kWidth)
            .arg(kHeight);
    return pictures /
           ffmpegSeconds(
               words(QStringLiteral("-threads 1 -flags low_delay -i %1 -an -filter_threads 1 -vf").arg(clip)) +
               QStringList{filter} + words(QStringLiteral("-f null -")));
}

} // namespace

int main()
{
    av_log_set_level(AV_LOG_QUIET);
    const QTemporaryDir folder;
    const QString clip = folder.filePath(QStringLiteral("clip.mp4"));
    constexpr int kPictures = 240;
    runFfmpeg(words(QStringLiteral("-f lavfi -i testsrc2=size=1280x720:rate=30:duration=%1 -vf noise=alls=6:allf=t "
                                   "-c:v libx264 -preset veryfast -bf 0 -pix_fmt yuv420p %2")
                        .arg(kPictures / 30)
                        .arg(clip)));
    std::vector<double> decoding;
    const auto [ours, peer] = measureInTurn(
        kRounds,
        [&] {
            decoding.push_back(picturesPerSecond(clip, true));
            return picturesPerSecond(clip, false);
        },
        [&] { return peerPicturesPerSecond(clip, kPictures); });
    report("raw_chain", "pictures/s", ours, "ffmpeg", peer, "ratio >= 1.1");
    report("raw_chain_to_decoding", "pictures/s", ours, "our decoding alone", median(decoding), "ratio >= 0.909");
}
