#include "media/channel_layout.h"
#include "media/encoder_choice.h"
#include "tests/media/media_files.h"
#include "tests/support/loopback_server.h"
#include "tests/support/suite_registry.h"
#include "tools/media/wav_writer.h"

#include <QBuffer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <filesystem>

namespace {

/// A medium with room for `room` bytes.
class SmallDevice final : public QBuffer
{
public:
    explicit SmallDevice(qint64 room) : m_room(room) { open(QIODevice::WriteOnly); }

protected:
    qint64 writeData(const char* data, qint64 length) override
    {
        if (pos() + length > m_room) {
            setErrorString(QStringLiteral("the medium is full"));
            return -1;
        }
        return QBuffer::writeData(data, length);
    }

private:
    const qint64 m_room;
};

struct Outcome
{
    int exitCode = -1;
    QString output;
    QString error;
};

Outcome runProgram(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(PLUGBOARD_MEDIA_PROGRAM), arguments);
    process.waitForFinished(120000);
    const auto text = [](QByteArray bytes) { return QString::fromUtf8(bytes.replace("\r\n", "\n")); };
    return {process.exitCode(), text(process.readAllStandardOutput()), text(process.readAllStandardError())};
}

} // namespace

class MediaProgramTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void wavFileThatCannotBeWritten_data()
    {
        QTest::addColumn<int>("room");
        QTest::addColumn<bool>("complete");
        QTest::newRow("no room for the header") << 20 << false;
        QTest::newRow("full within the first sound") << 44 + 100 << false;
        QTest::newRow("full at the last byte") << 44 + 3 * 400 - 1 << false;
        QTest::newRow("just enough") << 44 + 3 * 400 << true;
    }

    void wavFileThatCannotBeWritten()
    {
        QFETCH(int, room);
        QFETCH(bool, complete);
        SmallDevice device(room);
        WavWriter writer(device, 2, 48000);
        const ffmpeg::Frame frame(av_frame_alloc());
        frame->format = AV_SAMPLE_FMT_S16;
        frame->sample_rate = 48000;
        frame->nb_samples = 100;
        ffmpeg::setChannels(*frame, 2, 3);
        QVERIFY(av_frame_get_buffer(frame.get(), 0) >= 0);
        bool taken = true;
        for (int block = 0; block < 3; ++block)
            taken = writer.pushFrame(frame.get()) && taken;
        QCOMPARE(taken, complete);
        QCOMPARE(writer.finish(), complete);
        QCOMPARE(writer.error().isEmpty(), complete);
        if (complete)
            QCOMPARE(device.data().left(8).toHex(), QByteArray("52494646d4040000")); // 36 + 1200 bytes follow.
    }

    void endsWithAReason_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("said");
        const auto row = [](const char* name, const QStringList& arguments, int code, const char* said) {
            QTest::newRow(name) << arguments << code << QString::fromLatin1(said);
        };
        const QString clip = mediaFile("h264_aac.mp4");
        row("help", {QStringLiteral("--help")}, 0, "Usage:");
        row("commands", {QStringLiteral("--list-commands")}, 0, "Reset\nTestAv\n");
        row("no source", {QStringLiteral("--null")}, 2, "one source is needed");
        row("bad size", {QStringLiteral("--null"), QStringLiteral("--size"), QStringLiteral("640"), clip}, 2,
            "no size like 640x480");
        row("bad number", {QStringLiteral("--null"), QStringLiteral("--threads"), QStringLiteral("many"), clip}, 2,
            "--threads takes a number from 0 to 64");
        row("two runs", {QStringLiteral("--null"), QStringLiteral("--wav"), QStringLiteral("x.wav"), clip}, 2,
            "exclude each other");
        row("source that would be replaced", {QStringLiteral("--wav"), mediaFile("tone.aac"), mediaFile("tone.aac")}, 2,
            "would replace its own source");
        row("pictures that nothing can make",
            {QStringLiteral("--null"), QStringLiteral("--format"), QStringLiteral("vaapi"), clip}, 2,
            "cannot have the pixel format");
        row("pictures whose planes are not known",
            {QStringLiteral("--null"), QStringLiteral("--format"), QStringLiteral("yuv444p"), clip}, 2,
            "cannot have the pixel format");
        row("option without a use", {QStringLiteral("--null"), QStringLiteral("--rate"), QStringLiteral("10"), clip}, 2,
            "--rate does nothing here");
        row("path for a server's name", {QStringLiteral("--server"), clip, clip}, 2, "is no name of a server");
        row("missing source", {QStringLiteral("--null"), mediaFile("missing.mp4")}, 1, "No such file or directory");
        row("no video", {QStringLiteral("--null"), mediaFile("mono_8k.wav")}, 1, "has no video");
        row("no sound", {QStringLiteral("--null"), QStringLiteral("--sound"), mediaFile("raw.h264")}, 1,
            "has no sound");
        row("folder that is not there", {QStringLiteral("--output"), QStringLiteral("/missing/folder/x.mp4"), clip}, 1,
            "cannot write");
        row("unknown command", {QStringLiteral("--command"), QStringLiteral("testav")}, 1,
            "there is no command 'testav'");
        row("command that fails", {QStringLiteral("--command"), QStringLiteral("TestAv"), mediaFile("missing.mp4")}, 1,
            "the command 'TestAv' failed");
        row("no controller", {QStringLiteral("--command"), QStringLiteral("Reset")}, 1, "the command 'Reset' failed");
    }

    void endsWithAReason()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, said);
        const Outcome outcome = runProgram(arguments);
        QVERIFY2((outcome.output + outcome.error).contains(said), qPrintable(outcome.output + outcome.error));
        QCOMPARE(outcome.exitCode, exitCode);
    }

    void measuresInOneLine()
    {
        const Outcome outcome =
            runProgram({QStringLiteral("--null"), QStringLiteral("--json"), QStringLiteral("--size"),
                        QStringLiteral("80x60"), mediaFile("h264_aac.mp4")});
        QCOMPARE(outcome.exitCode, 0);
        QVERIFY(outcome.error.contains(QLatin1String("Reached end of file")));
        const QJsonObject measured = QJsonDocument::fromJson(outcome.output.toUtf8()).object();
        QCOMPARE(measured.value(QStringLiteral("frames")).toInt(), 30);
        QVERIFY(!measured.value(QStringLiteral("decoder")).toString().isEmpty());
        QVERIFY(measured.value(QStringLiteral("fps")).toDouble() > 0);
    }

    void sourceUnderAnotherName()
    {
        const QTemporaryDir folder;
        const QString source = folder.filePath(QStringLiteral("source.mp4"));
        const QString link = folder.filePath(QStringLiteral("link.mp4"));
        QVERIFY(QFile::copy(mediaFile("h264_aac.mp4"), source));
        std::filesystem::create_hard_link(source.toStdU16String(), link.toStdU16String());
        for (const QStringList& arguments :
             {QStringList{QStringLiteral("--output"), link, source}, {QStringLiteral("--snapshot"), link, source}}) {
            const Outcome outcome = runProgram(arguments);
            QCOMPARE(outcome.exitCode, 2);
            QVERIFY(outcome.error.contains(QLatin1String("would replace its own source")));
        }
    }

    /// Ctrl+C while a server that says nothing is opened, whose time would be up after ten seconds.
    void stopsWhileItOpens()
    {
#ifdef _WIN32
        QSKIP("a console's Ctrl+C cannot be sent to one process");
#else
        const LoopbackServer silent({}, LoopbackServer::Ending::Stall);
        QProcess process;
        process.start(QStringLiteral(PLUGBOARD_MEDIA_PROGRAM),
                      {QStringLiteral("--null"), silent.url("http", "/video")});
        QTRY_COMPARE_WITH_TIMEOUT(silent.clients(), 1, 30000);
        kill(pid_t(process.processId()), SIGINT);
        QVERIFY(process.waitForFinished(30000));
        QCOMPARE(process.exitCode(), 130);
#endif
    }

    void writesFiles_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("encoder");
        QTest::addColumn<QString>("file");
        const auto row = [](const char* name, const char* arguments, AVCodecID encoder, const char* file) {
            QTest::newRow(name) << QString::fromLatin1(arguments).split(QLatin1Char(' ')) << int(encoder)
                                << QString::fromLatin1(file);
        };
        row("H.264 in MP4", "--output FILE --size 80x60", AV_CODEC_ID_H264, "a.mp4");
        row("H.265 in Matroska", "--output FILE --codec h265 --size 80x60", AV_CODEC_ID_HEVC, "b.mkv");
        row("MJPEG in AVI", "--output FILE --codec mjpeg --size 80x60", AV_CODEC_ID_MJPEG, "c.avi");
        row("copied MP4", "--output FILE --codec h264", AV_CODEC_ID_NONE, "d.mp4");
        row("two pictures of five", "--output FILE --codec h264 --rate 10", AV_CODEC_ID_H264, "f.mp4");
        row("sound, to the last sample of another rate", "--wav FILE", AV_CODEC_ID_NONE, "e.wav");
    }

    /// A codec that this FFmpeg cannot encode is refused with the reason.
    void writesFiles()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, encoder);
        QFETCH(QString, file);
        const QTemporaryDir folder;
        const QString path = folder.filePath(file);
        arguments.replaceInStrings(QStringLiteral("FILE"), path);
        const bool isSound = file.endsWith(QLatin1String("wav"));
        const Outcome outcome =
            runProgram(arguments + QStringList{mediaFile(isSound ? "mono_8k.wav" : "h264_aac.mp4")});
        if (encoder != AV_CODEC_ID_NONE && !openEncoder({AVCodecID(encoder), -1, 80, 60, 25, 1})) {
            QCOMPARE(outcome.exitCode, 1);
            QVERIFY2(outcome.error.contains(QLatin1String("no encoder")), qPrintable(outcome.error));
            return;
        }
        QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.error));
        QStringList back = {QStringLiteral("--null"), path};
        if (isSound)
            back.prepend(QStringLiteral("--sound"));
        const QString line = runProgram(back).output.trimmed().section(QLatin1Char('\n'), -1);
        const QJsonObject measured = QJsonDocument::fromJson(line.toUtf8()).object();
        const int count = measured.value(isSound ? QStringLiteral("samples") : QStringLiteral("frames")).toInt();
        const int expected = isSound ? 57600 : arguments.contains(QStringLiteral("--rate")) ? 12 : 30;
        QVERIFY2(count == expected, qPrintable(line));
    }
};

PLUGBOARD_SUITE(MediaProgramTest)
#include "media_program_test.moc"
