// links: plugboard::media
#include "benchmarks/media_peer.h"
#include "media/av_decoder.h"

#include <string>

namespace {

constexpr int kRounds = 5;

double wholeChain(const QString& clip, const ClipShape& shape)
{
    return videoItemsPerSecond(clip, [&shape](MediaReader& reader, NullSink& sink) {
        reader.buildVideoChain(AV_CODEC_ID_NONE, AV_PIX_FMT_YUV420P, shape.targetWidth, shape.targetHeight, 30, sink,
                               withoutServer());
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

double peerPicturesPerSecond(const QString& clip, const ClipShape& shape)
{
    const QString filter =
        QStringLiteral("scale=%1:%2:flags=bilinear,drawtext=text='FPS\\:%{n}.0 FPS_AVG\\:312.4 FRAME_CNT\\:%{n} "
                       "TIME\\:%{pts}\npic\\:0,0,854,480':fontcolor=white:fontsize=32:box=1:boxcolor=red:x=10:y=10")
            .arg(shape.targetWidth)
            .arg(shape.targetHeight);
    return shape.pictures /
           ffmpegSeconds(
               words(QStringLiteral("-threads 1 -flags low_delay -i %1 -an -filter_threads 1 -vf").arg(clip)) +
               QStringList{filter} + words(QStringLiteral("-f null -")));
}

} // namespace

int main()
{
    av_log_set_level(AV_LOG_QUIET);
    const QTemporaryDir folder;
    for (const ClipShape& shape : kClipShapes) {
        const QString clip = makeGrainyClip(folder, shape);
        std::vector<double> decoding;
        const auto [ours, peer] = measureInTurn(
            kRounds,
            [&] {
                decoding.push_back(decodingAlone(clip));
                return wholeChain(clip, shape);
            },
            [&] { return peerPicturesPerSecond(clip, shape); });
        const std::string name = std::string("raw_chain ") + shape.name;
        report(name.c_str(), "pictures/s", ours, "ffmpeg", peer, "ratio >= 1.1");
        report((name + ", to decoding").c_str(), "pictures/s", ours, "our decoding alone", median(decoding),
               "ratio >= 0.909");
    }
}
