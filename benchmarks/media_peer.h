// media_peer.h: clips for the media benchmarks, their chains, and the ffmpeg command line as their peer.
#pragma once

#include "benchmarks/report.h"
#include "media/av_scaler.h"
#include "media/media_reader.h"

#include <QProcess>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <cstdio>
#include <cstdlib>
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

/// Seconds of ffmpeg's own clock from the first packet to the last, without its start.
inline double ffmpegSeconds(const QStringList& arguments)
{
    const QString said = runFfmpeg(QStringList{QStringLiteral("-benchmark")} + arguments);
    static const QRegularExpression time(QStringLiteral("rtime=([0-9.]+)s"));
    return time.match(said).captured(1).toDouble();
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

/// Low-latency H.264 of 1280 x 720 with some grain, 30 pictures a second.
inline void makeGrainyClip(const QString& path, int pictures)
{
    runFfmpeg(words(QStringLiteral("-f lavfi -i testsrc2=size=1280x720:rate=30 -frames:v %1 -vf noise=alls=6:allf=t "
                                   "-c:v libx264 -preset veryfast -bf 0 -pix_fmt yuv420p %2")
                        .arg(pictures)
                        .arg(path)));
}

inline ScalerSettings withoutServer()
{
    ScalerSettings settings;
    settings.serverName.clear();
    return settings;
}

/// Pictures or packets a second of a whole clip through the chain that `build` puts between reader and sink, in one
/// thread.
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
    const double time = millisecondsOf([&] {
        reader.readLoop(false);
        reader.flush();
    });
    return 1000.0 * double(sink.items) / time;
}
