#include "media/ffmpeg_handles.h"
#include "media/source_probe.h"
#include "tests/media/media_files.h"
#include "tests/support/loopback_server.h"
#include "tests/support/suite_registry.h"

#include <QFile>
#include <QtTest>

using Kind = SourceProbe::Kind;
Q_DECLARE_METATYPE(SourceProbe::Kind)
Q_DECLARE_METATYPE(LoopbackServer::Ending)

namespace {

/// One line that says what a probe found.
QString summary(const SourceProbeResult& result)
{
    if (!result.opened)
        return QStringLiteral("failed");
    QStringList parts;
    if (result.hasVideo)
        parts << QStringLiteral("%1x%2@%3").arg(result.width).arg(result.height).arg(result.frameRate);
    if (result.hasAudio)
        parts << QStringLiteral("%1ch %2Hz").arg(result.channels).arg(result.sampleRate);
    return parts.join(QStringLiteral(", "));
}

} // namespace

class SourceProbeTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void findsWhatASourceHolds_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<SourceProbe::Kind>("kind");
        QTest::addColumn<QString>("found");
        const auto row = [](const char* name, const char* file, Kind kind, const char* found) {
            QTest::newRow(name) << QString::fromLatin1(file) << kind << QString::fromLatin1(found);
        };
        row("rate is 30 whatever the stream says", "h264_aac.mp4", Kind::VideoAndAudio, "160x120@30, 2ch 48000Hz");
        row("sound is ignored when only video is asked for", "h264_aac.mp4", Kind::Video, "160x120@30");
        row("video is ignored when only sound is asked for", "h264_aac.mp4", Kind::Audio, "2ch 48000Hz");
        row("Matroska", "h264_opus.mkv", Kind::VideoAndAudio, "160x120@30, 1ch 48000Hz");
        row("transport stream, whose streams are found while reading", "h264_aac.ts", Kind::Video, "160x120@30");
        row("AVI", "mpeg4_mp3.avi", Kind::VideoAndAudio, "160x120@30, 1ch 48000Hz");
        row("raw H.264 has its size in the stream only", "raw.h264", Kind::VideoAndAudio, "160x120@30");
        row("raw H.265 has its size in the stream only", "raw.h265", Kind::VideoAndAudio, "160x120@30");
        row("second video stream is ignored", "two_videos.mkv", Kind::VideoAndAudio, "160x120@30");
        row("sound file opens without a source when only video is asked for", "mono_8k.wav", Kind::Video, "");
        row("mono at 8 kHz", "mono_8k.wav", Kind::Audio, "1ch 8000Hz");
        row("5.1 sound", "surround.mka", Kind::Audio, "6ch 48000Hz");
        row("missing file", "missing.mp4", Kind::VideoAndAudio, "failed");
    }

    void findsWhatASourceHolds()
    {
        QFETCH(QString, file);
        QFETCH(SourceProbe::Kind, kind);
        QFETCH(QString, found);
        const SourceProbeResult result = makeSourceProbe()->probe(mediaFile(file.toLatin1().constData()), kind);
        QCOMPARE(summary(result), found);
        QCOMPARE(result.error.isEmpty(), result.opened);
    }

    void failsInBoundedTime_data()
    {
        QTest::addColumn<QString>("scheme");
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<LoopbackServer::Ending>("ending");
        const QByteArray garbage = QByteArray::fromHex("00ff13371337deadbeef").repeated(50);
        const QByteArray start = httpAnswer("video/mp4", contentOf(mediaFile("h264_aac.mp4")).left(200));
        const auto row = [](const char* name, const char* scheme, const QByteArray& answer,
                            LoopbackServer::Ending ending) {
            QTest::newRow(name) << QString::fromLatin1(scheme) << answer << ending;
        };
        row("web server accepts and never answers", "http", {}, LoopbackServer::Ending::Stall);
        row("camera accepts and never answers", "rtsp", {}, LoopbackServer::Ending::Stall);
        row("camera answers garbage", "rtsp", garbage, LoopbackServer::Ending::Close);
        row("web server answers garbage", "http", garbage, LoopbackServer::Ending::Close);
        row("web server answers an error", "http", "HTTP/1.1 404 Not Found\r\n\r\n", LoopbackServer::Ending::Close);
        row("stream stops in the middle", "http", start, LoopbackServer::Ending::Stall);
        row("connection is reset in the middle", "http", start, LoopbackServer::Ending::Reset);
    }

    void failsInBoundedTime()
    {
        QFETCH(QString, scheme);
        QFETCH(QByteArray, answer);
        QFETCH(LoopbackServer::Ending, ending);
        const LoopbackServer server(answer, ending);
        const SourceProbeResult result =
            makeSourceProbe(std::chrono::milliseconds(300))->probe(server.url(scheme.toLatin1().constData(), "/video"));
        QVERIFY(!result.isUsableVideo());
        QVERIFY(!result.isUsableAudio());
        QVERIFY(!result.opened);
        QVERIFY(!result.error.isEmpty());
    }

    void cancelEndsAWait()
    {
        const LoopbackServer server({}, LoopbackServer::Ending::Stall);
        const auto probe = makeSourceProbe(std::chrono::hours(1));
        std::thread canceller([&] {
            while (server.clients() == 0)
                std::this_thread::yield();
            probe->cancel();
        });
        QVERIFY(!probe->probe(server.url("http", "/video")).opened);
        canceller.join();
    }
};

PLUGBOARD_SUITE(SourceProbeTest)
#include "source_probe_test.moc"
