// links: plugboard::media_tool
// How far picture and sound of a window lie apart while it plays, and whether its memory stays. Ten minutes of it:
// PLUGBOARD_SOUND_SECONDS=600 scripts/bench.sh picture_sound
#include "benchmarks/media_peer.h"
#include "tools/media/picture_window.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr double kNoPeer = std::numeric_limits<double>::quiet_NaN();
constexpr double kUsualSeconds = 60;
constexpr double kFirstSeconds = 10; // Until memory and clocks have settled.
constexpr double kMostApart = 500;   // Milliseconds; flashes come once a second.
constexpr int kLoud = 1000;          // Of 32767.
constexpr int kBright = 128;

/// The sound device of this process: ALSA writes what would be heard into a pipe, in the rhythm in which it is given.
class SoundPipe
{
public:
    explicit SoundPipe(const QTemporaryDir& folder)
    {
        const QString pipe = folder.filePath(QStringLiteral("sound"));
        const QString configuration = folder.filePath(QStringLiteral("asound.conf"));
        mkfifo(qPrintable(pipe), 0600);
        m_descriptor = ::open(qPrintable(pipe), O_RDWR | O_NONBLOCK);
        QFile file(configuration);
        if (m_descriptor < 0 || !file.open(QIODevice::WriteOnly)) {
            std::fprintf(stderr, "cannot make a sound device\n");
            std::exit(1);
        }
        file.write("pcm.null { type null }\n"
                   "pcm.!default { type file  slave.pcm null  format raw  file \"" +
                   pipe.toUtf8() + "\" }\n");
        qputenv("ALSA_CONFIG_PATH", configuration.toUtf8());
    }
    ~SoundPipe() { ::close(m_descriptor); }
    SoundPipe(const SoundPipe&) = delete;
    SoundPipe& operator=(const SoundPipe&) = delete;

    /// Takes what has come; true when it is loud.
    bool takeLoud()
    {
        std::int16_t samples[8192];
        for (ssize_t bytes = 0; (bytes = ::read(m_descriptor, samples, sizeof samples)) > 0;) {
            m_bytes += bytes;
            for (std::size_t i = 0; i < std::size_t(bytes) / sizeof samples[0]; ++i) {
                m_quiet = std::abs(int(samples[i])) > kLoud ? 0 : m_quiet + 1;
                m_isLoud = m_quiet < SoundPlayer::kRate / 100;
            }
        }
        return m_isLoud;
    }
    double seconds() const { return double(m_bytes) / SoundPlayer::kRate / SoundPlayer::kChannels / 2; }

private:
    int m_descriptor = -1;
    std::int64_t m_bytes = 0;
    int m_quiet = SoundPlayer::kRate; ///< Samples since the last loud one.
    bool m_isLoud = false;
};

/// In each second a white picture with a tone, for a fifth of it.
QString makeClip(const QTemporaryDir& folder)
{
    const QString path = folder.filePath(QStringLiteral("clip.mp4"));
    runFfmpeg(words(
        QStringLiteral("-f lavfi -i "
                       "color=black:size=320x240:rate=25,drawbox=color=white:t=fill:enable='between(mod(t,1),0.5,0.7)' "
                       "-f lavfi -i aevalsrc='if(between(mod(t,1),0.5,0.7),0.5*sin(2*PI*1000*t),0)':s=48000 -t 20 "
                       "-c:v libx264 -preset ultrafast -bf 0 -pix_fmt yuv420p -c:a aac %1")
            .arg(path)));
    return path;
}

double residentMegabytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toDouble() * double(sysconf(_SC_PAGESIZE)) / 1e6;
}

struct Findings
{
    std::vector<double> apart; ///< Milliseconds from each flash to its tone; below 0 when the tone comes first.
    int flashes = 0;
    double soundPerSecond = 0;
    double megabytesAtFirst = 0;
    double megabytes = 0;
};

Findings watch(const PictureWindow& window, SoundPipe& sound, double seconds)
{
    Findings found;
    QElapsedTimer clock;
    clock.start();
    const auto now = [&clock] { return double(clock.nsecsElapsed()) / 1e6; };
    bool wasBright = false;
    bool wasLoud = false;
    double flash = -1;
    double tone = -1;
    double soundAtFirst = -1;
    while (now() < 1000 * (kFirstSeconds + seconds)) {
        QCoreApplication::processEvents();
        const QImage picture = window.picture();
        const bool isBright =
            !picture.isNull() && qGray(picture.pixel(picture.width() - 2, picture.height() - 2)) > kBright;
        const bool isLoud = sound.takeLoud();
        const bool isSettled = now() > 1000 * kFirstSeconds;
        if (isSettled && soundAtFirst < 0) {
            soundAtFirst = sound.seconds();
            found.megabytesAtFirst = residentMegabytes();
        }
        if (isBright && !wasBright) {
            flash = now();
            found.flashes += isSettled ? 1 : 0;
        }
        if (isLoud && !wasLoud)
            tone = now();
        if (flash >= 0 && tone >= 0 && std::abs(tone - flash) < kMostApart) {
            if (isSettled)
                found.apart.push_back(tone - flash);
            flash = tone = -1;
        }
        wasBright = isBright;
        wasLoud = isLoud;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    found.soundPerSecond = (sound.seconds() - soundAtFirst) / seconds;
    found.megabytes = residentMegabytes();
    return found;
}

} // namespace

int main(int argc, char** argv)
{
    av_log_set_level(AV_LOG_QUIET);
    const QTemporaryDir folder;
    SoundPipe sound(folder);
    QApplication application(argc, argv);
    const QByteArray wanted = qgetenv("PLUGBOARD_SOUND_SECONDS");
    const double seconds = wanted.isEmpty() ? kUsualSeconds : wanted.toDouble();
    const QuietOutput quiet;
    VideoFileSettings settings;
    settings.url = makeClip(folder).toStdString();
    settings.selector = kSelectBoth;
    settings.width = 0;
    settings.height = 0;
    settings.frameRate = 0;
    settings.scaling.serverName.clear();
    PictureWindow window(settings);
    window.show();
    Findings found = watch(window, sound, seconds);

    std::sort(found.apart.begin(), found.apart.end());
    if (!found.apart.empty()) {
        report("picture_sound, sound after picture (median)", "ms", median(found.apart), "", kNoPeer, "within 125");
        report("picture_sound, sound after picture (earliest)", "ms", found.apart.front(), "", kNoPeer, "-125");
        report("picture_sound, sound after picture (latest)", "ms", found.apart.back(), "", kNoPeer, "125");
    }
    report("picture_sound, flashes with their tone", "of a hundred",
           found.flashes > 0 ? 100.0 * double(found.apart.size()) / found.flashes : 0, "", kNoPeer, "100");
    report("picture_sound, sound played", "seconds of sound/s", found.soundPerSecond, "the clip's own rate", 1,
           "ratio within 0.01 of 1");
    report("picture_sound, late pictures", "pictures", double(window.latePictures()), "", kNoPeer, "0");
    report("picture_sound, memory at the end", "MB", found.megabytes, "after ten seconds", found.megabytesAtFirst,
           "ratio <= 1.05");
    return 0;
}
