// links: plugboard::media
#include "benchmarks/media_peer.h"

#include <QTemporaryDir>

namespace {

constexpr int kRounds = 3;
constexpr int kRate = 44100;

/// Seconds of sound per second.
double speed(const QString& clip)
{
    const QuietOutput quiet;
    MediaInterrupt interrupt;
    NullSink sink;
    MediaReader reader(clip.toStdString(), kSelectAudio, interrupt);
    if (!reader.open())
        std::exit(1);
    reader.setThreadCounts(1, 1);
    reader.buildAudioChain(2, kRate, sink);
    reader.rewind();
    const double time = millisecondsOf([&] { reader.readLoop(false); });
    return 1000.0 * double(sink.samples) / kRate / time;
}

} // namespace

int main()
{
    av_log_set_level(AV_LOG_QUIET);
    const QTemporaryDir folder;
    const QString clip = folder.filePath(QStringLiteral("clip.m4a"));
    constexpr int kSeconds = 300;
    runFfmpeg(
        words(QStringLiteral("-f lavfi -i anoisesrc=r=48000:a=0.3:d=%1 -ac 2 -c:a aac %2").arg(kSeconds).arg(clip)));
    const auto [ours, peer] = measureInTurn(
        kRounds, [&] { return speed(clip); },
        [&] {
            return kSeconds / ffmpegSeconds(words(QStringLiteral("-threads 1 -i %1 -filter_threads 1 "
                                                                 "-af aresample=%2:osf=s16 -c:a pcm_s16le -f null -")
                                                      .arg(clip)
                                                      .arg(kRate)));
        });
    report("audio_chain", "seconds of sound/s", ours, "ffmpeg", peer, "ratio >= 1.0");
}
