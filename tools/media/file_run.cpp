#include "tools/media/file_run.h"

#include "media/av_decoder.h"
#include "media/av_encoder.h"
#include "media/av_scaler.h"
#include "media/media_reader.h"
#include "tools/media/interrupt.h"
#include "tools/media/packet_file_writer.h"
#include "tools/media/wav_writer.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kPollPeriod(50);
constexpr std::chrono::seconds kProgressPeriod(1);
constexpr std::chrono::seconds kInputTimeLimit(10);
constexpr int kStoppedExit = 130;

int failed(const QString& text)
{
    std::fprintf(stderr, "plugboard-media: %s\n", qUtf8Printable(text));
    return 1;
}

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

QString name(const AVDecoder* decoder)
{
    return decoder ? QString::fromStdString(decoder->name()) : QString();
}

/// One run: the reader, what it ends in, and how it went.
class FileRun
{
public:
    explicit FileRun(const MediaOptions& options);

    int run();

private:
    bool isSound() const { return m_options.run == MediaOptions::Run::Wav || m_options.sound; }
    bool openOutput();
    QString prepare();
    void buildChains();
    void work();
    void showProgress() const;
    int report(double seconds);

    const MediaOptions m_options;
    MediaInterrupt m_interrupt;
    MediaReader m_reader;
    QFile m_file;
    std::unique_ptr<CountingSink> m_sink;
    WavWriter* m_wav = nullptr;
    PacketFileWriter* m_packets = nullptr;
    Clock::time_point m_start; ///< Of reading.
    std::atomic<bool> m_isReading{false};
    std::mutex m_lock;
    std::condition_variable m_changed;
    QString m_problem;
    bool m_done = false;
};

FileRun::FileRun(const MediaOptions& options)
    : m_options(options)
    , m_interrupt(kInputTimeLimit, &interrupted())
    , m_reader(options.source.toStdString(), isSound() ? kSelectAudio : kSelectVideo, m_interrupt)
{}

bool FileRun::openOutput()
{
    if (m_options.run == MediaOptions::Run::Wav) {
        m_file.setFileName(m_options.output);
        if (!m_file.open(QIODevice::WriteOnly))
            return false;
        auto writer = std::make_unique<WavWriter>(m_file, m_options.channels, m_options.sampleRate);
        m_wav = writer.get();
        m_sink = std::move(writer);
    } else if (m_options.run == MediaOptions::Run::File) {
        auto writer = std::make_unique<PacketFileWriter>(m_options.output);
        m_packets = writer.get();
        m_sink = std::move(writer);
    } else {
        m_sink = std::make_unique<CountingSink>();
    }
    return true;
}

void FileRun::buildChains()
{
    m_reader.setThreadCounts(m_options.threads, m_options.threads);
    if (isSound()) {
        m_reader.buildAudioChain(m_options.channels, m_options.sampleRate, *m_sink);
        return;
    }
    const AVSource& source = *m_reader.videoSource();
    ScalerSettings scaling;
    scaling.serverName.clear(); // Nobody moves a picture that nobody sees.
    const int width = m_options.width > 0 ? m_options.width : source.width();
    const int height = m_options.height > 0 ? m_options.height : source.height();
    const int rate = playingRate(m_options, source.pictureRate());
    m_reader.setExactOutput(true);
    const int format =
        m_options.codec == AV_CODEC_ID_NONE && m_options.pixelFormat == -1 ? AV_PIX_FMT_YUV420P : m_options.pixelFormat;
    m_reader.buildVideoChain(m_options.codec, format, width, height, rate, *m_sink, scaling);
    if (!m_packets)
        return;
    if (const AVEncoder* encoder = m_reader.encoder()) {
        const ffmpeg::CodecParameters parameters(avcodec_parameters_alloc());
        if (encoder->context() && avcodec_parameters_from_context(parameters.get(), encoder->context()) >= 0)
            m_packets->setStream(*parameters, encoder->context()->time_base);
    } else {
        m_packets->setStream(*source.codecParameters(), source.timeBase());
    }
}

void FileRun::showProgress() const
{
    const double seconds = secondsSince(m_start);
    if (isSound()) {
        std::fprintf(stderr, "%.1f s of sound in %.1f s\n", double(m_sink->samples) / m_options.sampleRate, seconds);
    } else {
        const std::int64_t pictures = m_sink->frames + m_sink->packets;
        std::fprintf(stderr, "%lld pictures in %.1f s, %.1f a second\n", static_cast<long long>(pictures), seconds,
                     double(pictures) / seconds);
    }
}

/// What keeps the source from being run; empty when nothing does.
QString FileRun::prepare()
{
    if (!m_reader.open())
        return QStringLiteral("cannot open '%1': %2").arg(m_options.source, QString::fromStdString(m_reader.error()));
    if (isSound() ? !m_reader.audioSource() : !m_reader.videoSource()) {
        return QStringLiteral("'%1' has no %2")
            .arg(m_options.source, isSound() ? QStringLiteral("sound") : QStringLiteral("video"));
    }
    if (!isSound() && (m_reader.videoSource()->width() <= 0 || m_reader.videoSource()->height() <= 0))
        return QStringLiteral("no picture of '%1' came").arg(m_options.source);
    if (!openOutput())
        return QStringLiteral("cannot write '%1': %2").arg(m_options.output, m_file.errorString());
    buildChains();
    if (m_reader.encoder() && !m_reader.encoder()->isOpen()) {
        return QStringLiteral("no encoder of this FFmpeg takes such pictures as %1")
            .arg(QString::fromLatin1(avcodec_get_name(m_options.codec)));
    }
    return {};
}

/// On a thread of its own: opening may take as long as reading.
void FileRun::work()
{
    const QString problem = prepare();
    if (problem.isEmpty()) {
        m_start = Clock::now();
        m_isReading = true;
        m_reader.readLoop(false);
        m_reader.flush();
    }
    const std::lock_guard guard(m_lock);
    m_problem = problem;
    m_done = true;
    m_changed.notify_all();
}

int FileRun::run()
{
    std::thread working([this] { work(); });
    auto lastProgress = Clock::now();
    {
        std::unique_lock guard(m_lock);
        while (!m_changed.wait_for(guard, kPollPeriod, [this] { return m_done; })) {
            if (m_isReading && Clock::now() - lastProgress >= kProgressPeriod) {
                lastProgress = Clock::now();
                showProgress();
            }
        }
    }
    working.join();
    if (!m_problem.isEmpty())
        return m_interrupt.isStopped() ? kStoppedExit : failed(m_problem);
    return report(secondsSince(m_start));
}

int FileRun::report(double seconds)
{
    const bool complete = m_wav ? m_wav->finish() : m_packets ? m_packets->finish() : true;
    if (!complete) {
        return failed(
            QStringLiteral("cannot write '%1': %2").arg(m_options.output, m_wav ? m_wav->error() : m_packets->error()));
    }
    if (m_sink->frames + m_sink->packets + m_sink->samples == 0 && !m_interrupt.isStopped())
        return failed(QStringLiteral("nothing could be decoded from '%1'").arg(m_options.source));

    const AVDecoder* decoder = isSound() ? m_reader.audioDecoder() : m_reader.videoDecoder();
    QJsonObject line = {{QStringLiteral("seconds"), seconds},
                        {QStringLiteral("decoder"), name(decoder)},
                        {QStringLiteral("device"), decoder ? QString::fromStdString(decoder->deviceName()) : QString()},
                        {QStringLiteral("encoder"),
                         m_reader.encoder() ? QString::fromStdString(m_reader.encoder()->name()) : QString()},
                        {QStringLiteral("frames"), double(m_sink->frames)},
                        {QStringLiteral("packets"), double(m_sink->packets)},
                        {QStringLiteral("bytes"), double(m_sink->bytes)},
                        {QStringLiteral("samples"), double(m_sink->samples)}};
    if (!isSound())
        line[QStringLiteral("fps")] = double(m_sink->frames + m_sink->packets) / seconds;
    const QByteArray json = QJsonDocument(line).toJson(QJsonDocument::Compact);
    std::fprintf(m_options.run == MediaOptions::Run::Null ? stdout : stderr, "%s\n", json.constData());
    if (m_interrupt.isStopped())
        return kStoppedExit;
    if (!m_reader.error().empty()) {
        return failed(QStringLiteral("'%1' was played only in part: %2")
                          .arg(m_options.source, QString::fromStdString(m_reader.error())));
    }
    return 0;
}

} // namespace

int runToFile(const MediaOptions& options)
{
    return FileRun(options).run();
}
