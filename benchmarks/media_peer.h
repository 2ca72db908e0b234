// media_peer.h: clips for the media benchmarks, their chains, and the ffmpeg command line as their peer.
#pragma once

#include "benchmarks/report.h"
#include "media/av_scaler.h"
#include "media/media_reader.h"

#include <QProcess>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <sstream>

/// Runs ffmpeg; what it says on its error stream. Ends the program when ffmpeg fails.
inline QString runFfmpeg(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral("ffmpeg"),
                  QStringList{QStringLiteral("-nostdin"), QStringLiteral("-hide_banner"), QStringLiteral("-y")} +
                      arguments);
    process.waitForFinished(-1);
    const QString said = QString::fromLocal8Bit(process.readAllStandardError());
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        std::fprintf(stderr, "ffmpeg failed: %s\n", qUtf8Printable(said));
        std::exit(1);
    }
    return said;
}

/// The words of a command line that has no quotes.
inline QStringList words(const QString& line)
{
    return line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// Processor time that ffmpeg takes from the first packet to the last, in seconds, without its start. Unlike the time
/// on the clock, it hardly depends on what else the machine does.
inline double ffmpegSeconds(const QStringList& arguments)
{
    const QString said = runFfmpeg(QStringList{QStringLiteral("-benchmark")} + arguments);
    static const QRegularExpression time(QStringLiteral("utime=([0-9.]+)s stime=([0-9.]+)s"));
    const QRegularExpressionMatch match = time.match(said);
    return match.captured(1).toDouble() + match.captured(2).toDouble();
}

/// Processor time of this program while it does the work, in seconds.
inline double processorSeconds(const std::function<void()>& work)
{
    const std::clock_t begin = std::clock();
    work();
    return double(std::clock() - begin) / CLOCKS_PER_SEC;
}

/// Stages print their configuration; a benchmark prints one line only.
class QuietOutput
{
public:
    QuietOutput() : m_before(std::cout.rdbuf(m_text.rdbuf())) {}
    ~QuietOutput() { std::cout.rdbuf(m_before); }

private:
    std::ostringstream m_text;
    std::streambuf* m_before;
};

/// Counts and drops, as ffmpeg's null output does.
struct NullSink final : AVSourceSink
{
    bool pushFrame(AVFrame* frame) override
    {
        ++items;
        samples += frame->nb_samples;
        return true;
    }
    bool pushPacket(AVPacket*) override
    {
        ++items;
        return true;
    }

    std::int64_t items = 0;
    std::int64_t samples = 0;
};

/// Sizes that sources have, how many pictures are enough to measure, and a smaller size to bring them to.
struct ClipShape
{
    const char* name;
    int width;
    int height;
    int pictures;
    int targetWidth;
    int targetHeight;
};

inline constexpr ClipShape kClipShapes[] = {
    {"SD", 720, 576, 200, 480, 384}, {"1080p", 1920, 1080, 60, 1280, 720}, {"4K", 3840, 2160, 20, 1920, 1080}};

/// Low-latency H.264 with some grain, 30 pictures a second.
inline QString makeGrainyClip(const QTemporaryDir& folder, const ClipShape& shape)
{
    const QString path = folder.filePath(QStringLiteral("%1.mp4").arg(shape.width));
    runFfmpeg(words(QStringLiteral("-f lavfi -i testsrc2=size=%1x%2:rate=30 -frames:v %3 -vf noise=alls=6:allf=t "
                                   "-c:v libx264 -preset veryfast -bf 0 -pix_fmt yuv420p %4")
                        .arg(shape.width)
                        .arg(shape.height)
                        .arg(shape.pictures)
                        .arg(path)));
    return path;
}

inline ScalerSettings withoutServer()
{
    ScalerSettings settings;
    settings.serverName.clear();
    return settings;
}

/// Pictures or packets a second of processor time, of a whole clip through the chain that `build` puts between reader
/// and sink, in one thread.
inline double videoItemsPerSecond(const QString& clip, const std::function<void(MediaReader&, NullSink&)>& build)
{
    const QuietOutput quiet;
    MediaInterrupt interrupt;
    NullSink sink;
    MediaReader reader(clip.toStdString(), kSelectVideo, interrupt);
    if (!reader.open()) {
        std::fprintf(stderr, "cannot open the clip: %s\n", reader.error().c_str());
        std::exit(1);
    }
    reader.setThreadCounts(1, 1);
    build(reader, sink);
    reader.rewind();
    const double time = processorSeconds([&] {
        reader.readLoop(false);
        reader.flush();
    });
    return double(sink.items) / time;
}
