#include "media/media_reader.h"
#include "tests/media/media_files.h"
#include "tests/media/stage_probe.h"
#include "tests/support/loopback_server.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

class NetworkReaderTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    /// Network cameras send their JPEG pictures one after the other as the parts of one endless answer.
    void playsCamerasOfSeparatePictures()
    {
        const PrintedText printed;
        const LoopbackServer server(
            httpAnswer("multipart/x-mixed-replace;boundary=ffmpeg", contentOf(mediaFile("camera.mpjpeg"))),
            LoopbackServer::Ending::Close);
        MediaInterrupt interrupt(std::chrono::seconds(30));
        StageProbe video;
        std::vector<int> brightness;
        // At the bottom, below the overlay.
        video.onFrame = [&brightness](const AVFrame& frame) {
            brightness.push_back(frame.data[0][(frame.height - 4) * frame.linesize[0]]);
        };
        MediaReader reader(server.url("http", "/video").toStdString(), kSelectBoth, interrupt);
        QVERIFY2(reader.open(), reader.error().c_str());
        QCOMPARE(int(reader.videoSource()->codecId()), int(AV_CODEC_ID_MJPEG));
        QCOMPARE(reader.videoSource()->width(), 160);
        QVERIFY(!reader.audioSource());
        reader.buildVideoChain(AV_CODEC_ID_NONE, AV_PIX_FMT_YUV420P, 160, 120, 25, video, withoutServer());
        reader.readLoop(false);
        QVERIFY2(video.frames >= 28, qPrintable(QString::number(video.frames)));
        // Each picture of the clip is brighter than the one before.
        QVERIFY(std::is_sorted(brightness.begin(), brightness.end()));
        QVERIFY(brightness.back() - brightness.front() > 100);
    }

    void playsSound_data()
    {
        QTest::addColumn<QByteArray>("type");
        QTest::addColumn<QString>("file");
        QTest::newRow("Opus") << QByteArray("audio/ogg") << QStringLiteral("tone.opus");
        QTest::newRow("AAC") << QByteArray("audio/aac") << QStringLiteral("tone.aac");
    }

    /// 1.2 s of 440 Hz.
    void playsSound()
    {
        QFETCH(QByteArray, type);
        QFETCH(QString, file);
        const PrintedText printed;
        const LoopbackServer server(httpAnswer(type, contentOf(mediaFile(file.toLatin1().constData()))),
                                    LoopbackServer::Ending::Close);
        MediaInterrupt interrupt(std::chrono::seconds(30));
        StageProbe audio;
        std::vector<int> left;
        audio.onFrame = [&left](const AVFrame& frame) {
            const auto* samples = reinterpret_cast<const std::int16_t*>(frame.data[0]);
            for (int index = 0; index < frame.nb_samples; ++index)
                left.push_back(samples[2 * index]);
        };
        MediaReader reader(server.url("http", "/audio").toStdString(), kSelectAudio, interrupt);
        QVERIFY2(reader.open(), reader.error().c_str());
        QVERIFY(reader.audioSource());
        reader.buildAudioChain(2, 44100, audio);
        reader.readLoop(false);
        const double seconds = double(left.size()) / 44100;
        QVERIFY2(seconds > 1.1 && seconds < 1.3, qPrintable(QString::number(seconds)));
        // Upward crossings of a second in the middle, where neither codec fades.
        int waves = 0;
        for (std::size_t index = 4411; index < 4411 + 44100; ++index)
            waves += left[index - 1] < 0 && left[index] >= 0;
        QVERIFY2(std::abs(waves - 440) <= 2, qPrintable(QString::number(waves)));
    }
};

PLUGBOARD_SUITE(NetworkReaderTest)
#include "network_reader_test.moc"
