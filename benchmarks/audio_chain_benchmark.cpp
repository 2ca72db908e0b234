// links: plugboard::media
#include "benchmarks/media_peer.h"

#include <string>

namespace {

constexpr int kRounds = 3;
constexpr int kRate = 44100;

/// Seconds of sound per second of processor time.
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
    const double time = processorSeconds([&] { reader.readLoop(false); });
    return double(sink.samples) / kRate / time;
}

} // namespace

int main()
{
    av_log_set_level(AV_LOG_QUIET);
    const QTemporaryDir folder;
    constexpr int kSeconds = 300;
    struct Sound
    {
        const char* name;
        const char* encoding;
        const char* file;
    };
    for (const auto& [name, encoding, file] : {Sound{"AAC", "-ac 2 -c:a aac", "clip.m4a"},
                                               {"Opus", "-ac 2 -c:a libopus", "clip.opus"},
                                               {"AC-3 of 5.1", "-ac 6 -c:a ac3", "clip.ac3"}}) {
        const QString clip = folder.filePath(QString::fromLatin1(file));
        runFfmpeg(words(QStringLiteral("-f lavfi -i anoisesrc=r=48000:a=0.3:d=%1 %2 %3")
                            .arg(QString::number(kSeconds), QString::fromLatin1(encoding), clip)));
        const QStringList peerArguments =
            words(QStringLiteral("-threads 1 -i %1 -filter_threads 1 -af aresample=%2:osf=s16:ocl=stereo "
                                 "-c:a pcm_s16le -f null -")
                      .arg(clip)
                      .arg(kRate));
        const auto [ours, peer] = measureInTurn(
            kRounds, [&] { return speed(clip); }, [&] { return kSeconds / ffmpegSeconds(peerArguments); });
        report((std::string("audio_chain ") + name).c_str(), "seconds of sound/s", ours, "ffmpeg", peer,
               "ratio >= 1.0");
    }
}
