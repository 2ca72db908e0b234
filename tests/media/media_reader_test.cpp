#include "media/av_decoder.h"
#include "media/av_encoder.h"
#include "media/media_reader.h"
#include "media/video_file_source.h"
#include "tests/media/encoders_at_hand.h"
#include "tests/media/media_files.h"
#include "tests/media/stage_probe.h"
#include "tests/support/loopback_server.h"
#include "tests/support/suite_registry.h"

#include <QLocalSocket>
#include <QTemporaryDir>
#include <QtTest>

namespace {

bool write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

/// A reader of a file with both chains built into probes, raw pictures of 80 x 60 and stereo of 48 kHz.
struct RawChains
{
    explicit RawChains(const QString& path, int selector = kSelectBoth)
        : reader(path.toStdString(), selector, interrupt, "file")
    {
        opened = reader.open();
        reader.buildVideoChain(AV_CODEC_ID_NONE, AV_PIX_FMT_YUV420P, 80, 60, 25, video, withoutServer());
        reader.buildAudioChain(2, 48000, audio);
    }

    MediaInterrupt interrupt;
    StageProbe video;
    StageProbe audio;
    MediaReader reader;
    bool opened = false;
};

VideoFileSettings settingsFor(const QString& url)
{
    VideoFileSettings settings;
    settings.url = url.toStdString();
    settings.width = 80;
    settings.height = 60;
    settings.scaling = withoutServer();
    settings.inputTimeLimit = std::chrono::hours(1);
    return settings;
}

} // namespace

class MediaReaderTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void buildsChains_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("codec");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("selector");
        QTest::addColumn<QString>("result");
        const auto row = [](const char* name, const char* file, AVCodecID codec, QSize size, int selector,
                            const char* result) {
            QTest::newRow(name) << QString::fromLatin1(file) << int(codec) << size << selector
                                << QString::fromLatin1(result);
        };
        const AVCodecID raw = AV_CODEC_ID_NONE;
        row("raw pictures and sound", "h264_aac.mp4", raw, {80, 60}, kSelectBoth, "30 pictures 80x60, sound");
        row("video only", "h264_aac.mp4", raw, {80, 60}, kSelectVideo, "30 pictures 80x60");
        row("sound only", "h264_aac.mp4", raw, {80, 60}, kSelectAudio, "sound");
        row("sound file for video has nothing", "mono_8k.wav", raw, {80, 60}, kSelectVideo, "");
        row("a stream kind that does not exist takes none", "h264_aac.mp4", raw, {80, 60}, 2, "");
        row("VP9 with Opus", "vp9_opus.webm", raw, {80, 60}, kSelectBoth, "30 pictures 80x60, sound");
        row("transport stream", "h264_aac.ts", raw, {80, 60}, kSelectBoth, "30 pictures 80x60, sound");
        row("ADPCM, whose packets hold several blocks", "adpcm.wav", raw, {80, 60}, kSelectAudio, "sound");
        row("rotated pictures come as they are stored", "rotated.mp4", raw, {160, 120}, kSelectBoth,
            "30 pictures 160x120");
        row("mono of 8 kHz", "mono_8k.wav", raw, {80, 60}, kSelectAudio, "sound");
        row("second video is left out", "two_videos.mkv", raw, {160, 120}, kSelectBoth, "30 pictures 160x120");
        row("planar float of Opus", "h264_opus.mkv", raw, {80, 60}, kSelectBoth, "30 pictures 80x60, sound");
        row("5.1", "surround.mka", raw, {80, 60}, kSelectBoth, "sound");
        row("odd sizes", "h264_odd.mkv", raw, {81, 61}, kSelectBoth, "15 pictures 81x61");
        row("H.264 of the same size passes undecoded", "h264_aac.mp4", AV_CODEC_ID_H264, {160, 120}, kSelectVideo,
            "packets passed");
        row("H.265 of the same size passes undecoded", "hevc_10bit.mp4", AV_CODEC_ID_HEVC, {160, 120}, kSelectVideo,
            "packets passed");
        row("H.264 that has start codes passes undecoded", "raw.h264", AV_CODEC_ID_H264, {160, 120}, kSelectVideo,
            "packets passed");
        row("MJPEG passes undecoded", "mjpeg.avi", AV_CODEC_ID_MJPEG, {160, 120}, kSelectVideo, "packets passed");
        row("another size is encoded", "h264_aac.mp4", AV_CODEC_ID_H264, {80, 60}, kSelectVideo, "packets encoded");
        row("another codec is encoded, full range", "h264_aac.mp4", AV_CODEC_ID_MJPEG, {160, 120}, kSelectVideo,
            "packets encoded");
        row("10 bits are encoded with 8", "hevc_10bit.mp4", AV_CODEC_ID_H264, {80, 60}, kSelectVideo,
            "packets encoded");
    }

    void buildsChains()
    {
        QFETCH(QString, file);
        QFETCH(int, codec);
        QFETCH(QSize, size);
        QFETCH(int, selector);
        QFETCH(QString, result);
        if (result == QLatin1String("packets encoded") && !ffmpegEncodes(AVCodecID(codec)))
            QSKIP("this FFmpeg has no encoder of the codec");
        const PrintedText printed;
        MediaInterrupt interrupt;
        StageProbe video;
        StageProbe audio;
        MediaReader reader(mediaFile(file.toLatin1().constData()).toStdString(), selector, interrupt);
        QVERIFY(reader.open());
        QVERIFY(reader.buildVideoChain(AVCodecID(codec), -1 + (codec == AV_CODEC_ID_NONE), size.width(), size.height(),
                                       25, video, withoutServer()));
        QVERIFY(reader.buildAudioChain(2, 48000, audio));
        reader.readLoop(false);
        reader.flush();
        QStringList parts;
        if (video.frames > 0)
            parts
                << QStringLiteral("%1 pictures %2x%3").arg(video.frames).arg(video.last->width).arg(video.last->height);
        if (video.packets == 30)
            parts << (reader.encoder() ? QStringLiteral("packets encoded") : QStringLiteral("packets passed"));
        if (audio.samples > 40000 && audio.samples < 60000)
            parts << QStringLiteral("sound");
        QCOMPARE(parts.join(QStringLiteral(", ")), result);
        if (video.packets > 0 && codec != AV_CODEC_ID_MJPEG) {
            QVERIFY(video.packetBytes[0] == 0 && video.packetBytes[1] == 0 && video.packetBytes[2] <= 1); // Annex B.
            QCOMPARE(video.inputWidth(), size.width());
        }
    }

    void picturesKeepTheirSpeed_data()
    {
        QTest::addColumn<int>("rate");
        QTest::addColumn<int>("packets");
        QTest::newRow("the source's own rate") << 25 << 30;
        QTest::newRow("two of five pictures") << 10 << 12;
        QTest::newRow("every picture twice") << 50 << 60;
        QTest::newRow("every fifth picture twice") << 30 << 36;
    }

    void picturesKeepTheirSpeed()
    {
        QFETCH(int, rate);
        QFETCH(int, packets);
        MediaInterrupt interrupt;
        StageProbe video;
        MediaReader reader(mediaFile("mjpeg.avi").toStdString(), kSelectVideo, interrupt);
        QVERIFY(reader.open());
        reader.setExactOutput(true);
        reader.buildVideoChain(AV_CODEC_ID_MJPEG, -1, 160, 120, rate, video, withoutServer());
        reader.readLoop(false);
        reader.flush();
        QCOMPARE(video.packets, packets);
        QCOMPARE(reader.encoder() == nullptr, rate == 25);
    }

    /// A transport stream that is joined between two key pictures.
    void learnsTheSizeFromTheFirstPicture()
    {
        const PrintedText printed;
        const QByteArray whole = contentOf(mediaFile("h264_aac.ts"));
        const LoopbackServer server(httpAnswer("video/mp2t", whole.mid(whole.size() / 188 / 6 * 188)),
                                    LoopbackServer::Ending::Close);
        MediaInterrupt interrupt(std::chrono::seconds(30));
        StageProbe video;
        MediaReader reader(server.url("http", "/video").toStdString(), kSelectVideo, interrupt);
        QVERIFY(reader.open());
        QCOMPARE(reader.videoSource()->width(), 160);
        QCOMPARE(reader.videoSource()->height(), 120);
        QCOMPARE(reader.videoSource()->pixelFormat(), int(AV_PIX_FMT_YUV420P));
        reader.buildVideoChain(AV_CODEC_ID_NONE, AV_PIX_FMT_YUV420P, 160, 120, 25, video, withoutServer());
        reader.readLoop(false);
        reader.flush();
        QCOMPARE(video.frames, 20);
    }

    void saysWhyItEnded_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QString>("reason");
        const QByteArray film = contentOf(mediaFile("h264_aac.ts"));
        QTest::newRow("silence while opening") << QByteArray() << "nothing came for 1 s";
        QTest::newRow("silence while reading")
            << httpAnswer("video/mp2t", film.left(film.size() * 2 / 3)) << "nothing came for 1 s";
        QTest::newRow("an error of the server")
            << QByteArray("HTTP/1.1 503 Busy\r\n\r\n") << "Server returned 5XX Server Error reply";
        QTest::newRow("a chain that refuses") << httpAnswer("video/mp2t", film) << "the test has enough";
    }

    void saysWhyItEnded()
    {
        QFETCH(QByteArray, answer);
        QFETCH(QString, reason);
        const PrintedText printed;
        const LoopbackServer server(answer, LoopbackServer::Ending::Stall);
        MediaInterrupt interrupt(std::chrono::seconds(1));
        struct Refusing final : AVSourceSink
        {
            bool pushFrame(AVFrame*) override { return refuse("the test has enough"); }
        } refusing;
        StageProbe taking;
        AVSourceSink& sink =
            reason.startsWith(QLatin1String("the test")) ? static_cast<AVSourceSink&>(refusing) : taking;
        MediaReader reader(server.url("http", "/video").toStdString(), kSelectVideo, interrupt);
        if (reader.open()) {
            reader.buildVideoChain(AV_CODEC_ID_NONE, AV_PIX_FMT_YUV420P, 80, 60, 25, sink, withoutServer());
            reader.readLoop(false);
        }
        QCOMPARE(QString::fromStdString(reader.error()), reason);
        QCOMPARE(taking.frames > 5, answer.startsWith("HTTP/1.1 200") && &sink == &taking); // what came before is used
    }

    void loopsOverItsInput()
    {
        PrintedText printed;
        for (const char* file : {"h264_aac.mp4", "raw.h264", "h264_aac.ts", "mjpeg.avi"}) {
            RawChains chains(mediaFile(file));
            QVERIFY(chains.opened);
            chains.video.limit = 12 * 30;
            chains.reader.readLoop(true);
            QCOMPARE(chains.video.frames, 12 * 30);
            const QByteArray text = QByteArray::fromStdString(printed.take());
            QVERIFY(text.count("Reached end of file, restarting...\n") >= 11);
        }
        RawChains once(mediaFile("h264_aac.mp4"));
        once.reader.readLoop(false);
        QVERIFY(printed.take().find("Reached end of file, exiting\n") != std::string::npos);
    }

    /// At most thirty times a second, however fast it is read.
    void stillImageStartsAgainAtABoundedRate()
    {
        const PrintedText printed;
        RawChains chains(mediaFile("still.png"));
        QVERIFY(chains.opened);
        chains.video.limit = 11;
        QElapsedTimer time;
        time.start();
        chains.reader.readLoop(true);
        QCOMPARE(chains.video.frames, 11);
        QVERIFY2(time.elapsed() >= 10 * 33, qPrintable(QString::number(time.elapsed())));
    }

    void endsWhenTheInputCannotBeOpenedAgain()
    {
        PrintedText printed;
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("gone.wav"));
        QVERIFY(QFile::copy(mediaFile("mono_8k.wav"), path));
        RawChains chains(path);
        // Emptied and not removed: a file that is open stays where it is on some systems.
        chains.audio.onFrame = [&path](const AVFrame&) { QFile::resize(path, 0); };
        chains.audio.limit = 1000;
        chains.reader.readLoop(true);
        QVERIFY(chains.audio.frames > 0);
        QVERIFY(printed.take().find("restarting...\nFailed to reinitialize file for looping\n") != std::string::npos);
        QVERIFY(!chains.reader.error().empty());
    }

    /// What is opened again has other streams, sizes and codecs at the same indexes: nothing may crash.
    void inputMayChangeBehindItsBack()
    {
        const PrintedText printed;
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("changing"));
        const char* const files[] = {"h264_aac.mp4", "mjpeg.avi",   "hevc_10bit.mp4", "surround.mka",
                                     "raw.h264",     "mono_8k.wav", "h264_odd.mkv",   "h264_444.mp4"};
        for (const char* first : files) {
            for (const char* second : files) {
                QVERIFY(write(path, contentOf(mediaFile(first))));
                RawChains chains(path);
                QVERIFY(chains.opened);
                int changes = 0;
                const QByteArray next = contentOf(mediaFile(second));
                const auto change = [&](const AVFrame&) {
                    if (++changes == 20)
                        write(path, next);
                };
                chains.video.onFrame = change;
                chains.audio.onFrame = change;
                chains.video.limit = 100;
                chains.audio.limit = 200;
                chains.reader.readLoop(changes < 20);
                chains.reader.readLoop(false);
                chains.reader.flush();
            }
        }
    }

    void damagedFilesEndCleanly_data()
    {
        QTest::addColumn<QString>("file");
        for (const char* file : {"h264_aac.mp4", "h264_opus.mkv", "h264_aac.ts", "mpeg4_mp3.avi", "raw.h264",
                                 "raw.h265", "mjpeg.avi", "surround.mka", "tone.opus", "tone.aac", "mono_8k.wav"})
            QTest::newRow(file) << QString::fromLatin1(file);
    }

    void damagedFilesEndCleanly()
    {
        QFETCH(QString, file);
        const PrintedText printed;
        const QTemporaryDir folder;
        const QString path = folder.filePath(file);
        const QByteArray whole = contentOf(mediaFile(file.toLatin1().constData()));
        unsigned random = 12345;
        for (int round = 0; round < 24; ++round) {
            QByteArray damaged = whole;
            if (round % 2 == 0) {
                damaged.truncate(int(qint64(whole.size()) * round / 24));
            } else {
                for (int flips = 0; flips < 40; ++flips) {
                    random = random * 1664525 + 1013904223;
                    damaged[int(random >> 8) % damaged.size()] =
                        damaged[int(random >> 8) % damaged.size()] ^ (1 << round % 8);
                }
            }
            QVERIFY(write(path, damaged));
            RawChains chains(path);
            chains.video.limit = 200;
            chains.audio.limit = 2000;
            chains.reader.readLoop(false);
            chains.reader.flush();
        }
    }

    void sinkKeepsTheNewest()
    {
        AVMediaSink sink;
        const ffmpeg::Frame frame = patternPicture(AV_PIX_FMT_YUV420P, 33, 17);
        for (int number = 0; number < 100; ++number) {
            frame->pts = number;
            QVERIFY(sink.pushFrame(frame.get()));
        }
        QCOMPARE(sink.dropped(), std::uint64_t(36));
        const std::optional<MediaItem> item = sink.take();
        QCOMPARE(item->kind, 0);
        QCOMPARE(item->timeStamp, std::int64_t(36));
        QCOMPARE(item->width, 33);
        QCOMPARE(item->bytes.size(), std::size_t(33 * 17 + 2 * 17 * 9));
        std::vector<std::uint8_t> expected = planeBytes(*frame, 0, 33, 17);
        for (int plane = 1; plane < 3; ++plane) {
            const auto chroma = planeBytes(*frame, plane, 17, 9);
            expected.insert(expected.end(), chroma.begin(), chroma.end());
        }
        QCOMPARE(item->bytes, expected);

        sink.setInputSize(640, 480);
        const ffmpeg::Packet packet(av_packet_alloc());
        QCOMPARE(av_new_packet(packet.get(), 5), 0);
        std::memcpy(packet->data, "hello", 5);
        packet->pts = 7;
        while (sink.take()) {
        }
        const ffmpeg::Frame silence(av_frame_alloc()); // A resampler may make no sample of its first ones.
        silence->format = AV_SAMPLE_FMT_S16;
        QVERIFY(sink.pushFrame(silence.get()));
        QVERIFY(!sink.take());
        QVERIFY(sink.pushPacket(packet.get()));
        const std::optional<MediaItem> packed = sink.take();
        QCOMPARE(packed->kind, 1);
        QCOMPARE(packed->width, 640);
        QCOMPARE(packed->timeStamp, std::int64_t(7));
        QCOMPARE(std::string(packed->bytes.begin(), packed->bytes.end()), std::string("hello"));
        sink.stopQueue();
        QVERIFY(!sink.pushFrame(frame.get()));
        QVERIFY(!sink.take(std::chrono::hours(1)));
    }

    void sinkBlocksUntilThereIsRoom()
    {
        AVMediaSink sink(AVMediaSink::Overflow::Block);
        std::atomic<int> pushed{0};
        std::atomic<bool> refused{false};
        std::thread writer([&] {
            const ffmpeg::Frame frame = patternPicture(AV_PIX_FMT_YUV420P, 16, 16);
            while (sink.pushFrame(frame.get()))
                ++pushed;
            refused = true;
        });
        QTRY_COMPARE(pushed.load(), 64);
        for (int taken = 0; taken < 10; ++taken)
            sink.recycle(std::move(*sink.take(std::chrono::seconds(5))));
        QTRY_COMPARE(pushed.load(), 74);
        sink.stopQueue();
        writer.join();
        QVERIFY(refused);
        QCOMPARE(sink.dropped(), std::uint64_t(0));
    }

    void sourceStopsAtAnyTime_data()
    {
        QTest::addColumn<int>("items");
        QTest::addColumn<bool>("blocks");
        QTest::newRow("before it has opened") << 0 << false;
        QTest::newRow("while it plays") << 10 << false;
        QTest::newRow("while its queue is full and it waits") << 3 << true;
    }

    void sourceStopsAtAnyTime()
    {
        QFETCH(int, items);
        QFETCH(bool, blocks);
        for (int round = 0; round < 5; ++round) {
            VideoFileSettings settings = settingsFor(mediaFile("h264_aac.mp4"));
            settings.overflow = blocks ? AVMediaSink::Overflow::Block : AVMediaSink::Overflow::DropOldest;
            VideoFileSource source(settings);
            source.start();
            for (int taken = 0; taken < items; ++taken)
                QVERIFY(source.take(std::chrono::seconds(30)));
            if (items > 0)
                QVERIFY(source.isStarted());
        }
        // A camera that has stopped answering, in the middle of opening it.
        const LoopbackServer silent({}, LoopbackServer::Ending::Stall);
        VideoFileSource source(settingsFor(silent.url("http", "/video")));
        source.start();
        QTRY_COMPARE(silent.clients(), 1);
        source.requestStop();
        QVERIFY(source.wait(30000));
    }

    void commandsArriveWhileFramesFlow()
    {
        VideoFileSettings settings = settingsFor(mediaFile("h264_aac.mp4"));
        settings.selector = kSelectVideo;
        settings.scaling.serverName = QStringLiteral("MediaReaderTest_%1").arg(QCoreApplication::applicationPid());
        settings.scaling.appliesPlacement = true;
        VideoFileSource source(settings);
        source.start();
        QVERIFY(source.take(std::chrono::seconds(30)));
        QLocalSocket client;
        QByteArray received;
        connect(&client, &QLocalSocket::readyRead, [&] { received += client.readAll(); });
        QTRY_VERIFY(client.state() == QLocalSocket::ConnectedState ||
                    (client.connectToServer(settings.scaling.serverName), false));
        int frames = 0;
        const char* const lines[] = {"imgmx,3\n", "imgmy,-2\n", "imgws,0.7\n", "imghs,1.3\n", "imgm,2\n", "imgm,0\n"};
        for (int round = 0; round < 200; ++round) {
            client.write(lines[round % 6]);
            client.flush();
            QCoreApplication::processEvents();
            frames += source.take(std::chrono::milliseconds(50)).has_value();
        }
        QTRY_COMPARE(received.count("OK: Image") + received.count("OK: Scale mode"), 200);
        QVERIFY(frames > 100);
        source.requestStop();
        QVERIFY(source.wait(30000));
    }

    void sourceReportsItsEnd()
    {
        VideoFileSource source(settingsFor(mediaFile("missing.mp4")));
        std::atomic<int> ends{0};
        source.setCompletionCallback([&](const std::string& text) { ends += text.empty() ? 1 : 100; });
        source.start();
        QVERIFY(source.wait(30000));
        QCOMPARE(ends.load(), 1);
        QVERIFY(source.isStarted());
        QVERIFY(!source.description().empty());
    }
};

PLUGBOARD_SUITE(MediaReaderTest)
#include "media_reader_test.moc"
