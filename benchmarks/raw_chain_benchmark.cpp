// links: plugboard::media
#include "benchmarks/media_peer.h"
#include "media/av_decoder.h"

#include <QTemporaryDir>

namespace {

constexpr int kRounds = 9;
constexpr int kWidth = 854;
constexpr int kHeight = 480;

double wholeChain(const QString& clip)
{
    return videoItemsPerSecond(clip, [](MediaReader& reader, NullSink& sink) {
        reader.buildVideoChain(AV_CODEC_ID_NONE, AV_PIX_FMT_YUV420P, kWidth, kHeight, 30, sink, withoutServer());
    });
}

double decodingAlone(const QString& clip)
{
    AVDecoder decoder(AV_CODEC_ID_H264);
    decoder.setThreadCount(1);
    return videoItemsPerSecond(clip, [&decoder](MediaReader& reader, NullSink& sink) {
        decoder.open(reader.videoSource()->codecParameters());
        reader.videoSource()->chain(decoder);
        decoder.chain(sink);
    });
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
    makeGrainyClip(clip, kPictures);
    std::vector<double> decoding;
    const auto [ours, peer] = measureInTurn(
        kRounds,
        [&] {
            decoding.push_back(decodingAlone(clip));
            return wholeChain(clip);
        },
        [&] { return peerPicturesPerSecond(clip, kPictures); });
    report("raw_chain", "pictures/s", ours, "ffmpeg", peer, "ratio >= 1.1");
    report("raw_chain_to_decoding", "pictures/s", ours, "our decoding alone", median(decoding), "ratio >= 0.909");
}
