// Films of 30 pictures in the codecs and containers that people have, each by every way in: none may lose or add one.
#include "media/ffmpeg_handles.h"
#include "media/source_player.h"
#include "tests/media/media_files.h"
#include "tests/media/stage_probe.h"
#include "tests/support/suite_registry.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr int kPictures = 30;
#ifdef _WIN32 // a program's start costs seconds under Wine, and its ways hold nothing that is Windows's own
constexpr bool kProgramsToo = false;
#else
constexpr bool kProgramsToo = true;
#endif
constexpr auto kLongest = std::chrono::seconds(60);

VideoFileSettings settingsFor(const QString& path, bool forWindow)
{
    VideoFileSettings settings;
    settings.url = path.toStdString();
    settings.selector = 0;
    settings.width = forWindow ? 0 : 80;
    settings.height = forWindow ? 0 : 60;
    settings.frameRate = forWindow ? 0 : 25;
    settings.scaling = withoutServer(forWindow);
    settings.loop = false;
    settings.overflow = forWindow ? AVMediaSink::Overflow::StayClose : AVMediaSink::Overflow::Block;
    settings.queue.items = 3;
    return settings;
}

int picturesOfSource(const QString& path)
{
    VideoFileSource source(settingsFor(path, false));
    source.start();
    int pictures = 0;
    while (!source.isFinished() || source.received() > std::uint64_t(pictures))
        pictures += source.take(std::chrono::milliseconds(20)).has_value();
    return pictures;
}

/// As the window plays it, which has picture sizes of its own.
int picturesOfWindow(const QString& path)
{
    SourcePlayer player(settingsFor(path, true));
    QElapsedTimer waited;
    waited.start();
    player.start();
    int pictures = 0;
    while (waited.elapsed() < std::chrono::milliseconds(kLongest).count()) {
        const bool hasEnded = player.status().state == SourceState::Ended;
        if (player.take(std::chrono::milliseconds(20)))
            ++pictures;
        else if (hasEnded)
            break;
        QCoreApplication::processEvents();
    }
    player.stop();
    return pictures;
}

QByteArray outputOf(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(PLUGBOARD_MEDIA_PROGRAM), arguments);
    process.waitForFinished(int(std::chrono::milliseconds(kLongest).count()));
    return process.readAllStandardOutput();
}

int picturesMeasured(const QString& path)
{
    const QByteArray json = outputOf({QStringLiteral("--null"), QStringLiteral("--json"), path});
    return QJsonDocument::fromJson(json).object().value(QStringLiteral("frames")).toInt(-1);
}

/// Counted in the file that was written, by FFmpeg itself.
int picturesWritten(const QString& path)
{
    const QTemporaryDir folder;
    const QString written = folder.filePath(QStringLiteral("written.avi"));
    outputOf({QStringLiteral("--output"), written, QStringLiteral("--codec"), QStringLiteral("mjpeg"), path});
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, written.toUtf8().constData(), nullptr, nullptr) < 0)
        return -1;
    const ffmpeg::Packet packet(av_packet_alloc());
    int pictures = 0;
    for (; av_read_frame(opened, packet.get()) >= 0; av_packet_unref(packet.get()))
        ++pictures;
    avformat_close_input(&opened);
    return pictures;
}

} // namespace

class EveryCodecTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void allPicturesByEveryWay_data()
    {
        QTest::addColumn<QString>("path");
        const QString files = QStringLiteral(
            "h264_aac.mp4 h264_opus.mkv h264_aac.ts h264_b_frames.mp4 h264_interlaced.mp4 h264_444.mp4 "
            "h264_rows.ts h264.mov h264.flv raw.h264 brighter.mkv rotated.mp4 raw.h265 h265.ts hevc_10bit.mp4 "
            "vp8.webm vp9_opus.webm vp9.mp4 av1.mkv mpeg1.mpg brighter.mpg mpeg4_mp3.avi brighter.mp4 msmpeg4.avi "
            "wmv2.asf flv1.flv theora.ogv mjpeg.avi jpeg2000.mov prores.mov ffv1.mkv huffyuv.avi utvideo.avi "
            "qtrle.mov svq1.mov cinepak.avi png.mkv film.gif film.apng raw_pictures.avi pictures.y4m");
        for (const QString& file : files.split(QLatin1Char(' ')))
            QTest::newRow(qPrintable(file)) << mediaFile(qPrintable(file));
    }

    void allPicturesByEveryWay()
    {
        QFETCH(QString, path);
        if (path.endsWith(QLatin1String("av1.mkv")) && !avcodec_find_decoder_by_name("libdav1d"))
            QSKIP("what this FFmpeg has of its own for AV1 needs hardware");
        QCOMPARE(picturesOfSource(path), kPictures);
        QCOMPARE(picturesOfWindow(path), kPictures);
        if (!kProgramsToo)
            return;
        QCOMPARE(picturesMeasured(path), kPictures);
        QCOMPARE(picturesWritten(path), kPictures);
    }

private:
    const PrintedText m_printed;
};

PLUGBOARD_SUITE(EveryCodecTest)
#include "every_codec_test.moc"
