#include "media/control/line_splitter.h"
#include "media/ffmpeg_handles.h"
#include "media/scaler_commands.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

namespace {

struct Session
{
    explicit Session(int format = AV_PIX_FMT_YUV420P) : commands(placement, format) {}

    QString reply(const QString& line)
    {
        return commands.interpret(line, {[this] { return echo; }, [this](bool enabled) { echo = enabled; }});
    }

    /// Everything that commands can change, in one line.
    QString state() const
    {
        return QStringLiteral("%1,%2 %3,%4 mode %5 echo %6")
            .arg(placement.x)
            .arg(placement.y)
            .arg(placement.widthScale)
            .arg(placement.heightScale)
            .arg(placement.mode)
            .arg(echo);
    }

    PlacementState placement{kScaleAspectFit};
    ScalerCommands commands;
    bool echo = true;
};

const char* const kInitial = "0,0 1,1 mode 1 echo 1";

} // namespace

class ScalerCommandsTest : public QObject
{
    Q_OBJECT

private slots:
    void answersCommands_data()
    {
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("lastReply");
        QTest::addColumn<QString>("state");
        const auto row = [](const char* name, const QStringList& lines, const char* reply,
                            const char* state = kInitial) {
            QTest::newRow(name) << lines << QString::fromLatin1(reply) << QString::fromLatin1(state);
        };
        const auto one = [row](const char* line, const char* reply, const char* state = kInitial) {
            row(line, {QString::fromLatin1(line)}, reply, state);
        };
        one("imgx,100", "OK: Image X position set to 100", "100,0 1,1 mode 1 echo 1");
        one("IMGY,-7", "OK: Image Y position set to -7", "0,-7 1,1 mode 1 echo 1");
        one("ImgMX , -5", "OK: Image X position moved by -5 to -5", "-5,0 1,1 mode 1 echo 1");
        one("imgmy,3,further parts,9", "OK: Image Y position moved by 3 to 3", "0,3 1,1 mode 1 echo 1");
        one("imgx,2147483647", "OK: Image X position set to 2147483647", "2147483647,0 1,1 mode 1 echo 1");
        row("a move past 32 bits wraps", {QStringLiteral("imgx,2147483647"), QStringLiteral("imgmx,1")},
            "OK: Image X position moved by 1 to -2147483648", "-2147483648,0 1,1 mode 1 echo 1");
        one("imgws,1.5", "OK: Image width scale set to 1.5", "0,0 1.5,1 mode 1 echo 1");
        one("imghs,0.1", "OK: Image height scale set to 0.1", "0,0 1,0.1 mode 1 echo 1");
        one("imghs,1000000", "OK: Image height scale set to 1e+06", "0,0 1,1e+06 mode 1 echo 1");
        one("imgm,0", "OK: Scale mode set to STRETCH", "0,0 1,1 mode 0 echo 1");
        one("ImgM,Aspect_Fit", "OK: Scale mode set to ASPECT_FIT");
        one("imgm, 2 ", "OK: Scale mode set to PADDING", "0,0 1,1 mode 2 echo 1");
        one("echo", "OK: Echo is enabled");
        one("echo,OFF", "OK: Echo disabled", "0,0 1,1 mode 1 echo 0");
        one("echo,true", "OK: Echo enabled");
        row("echo tells the switch as it is", {QStringLiteral("echo,0"), QStringLiteral("echo")},
            "OK: Echo is disabled", "0,0 1,1 mode 1 echo 0");

        one("imgx", "ERROR: Missing X coordinate value");
        one("imgy", "ERROR: Missing Y coordinate value");
        one("imgmx", "ERROR: Missing X movement value");
        one("imgmy", "ERROR: Missing Y movement value");
        one("imgws", "ERROR: Missing width scale value");
        one("imghs", "ERROR: Missing height scale value");
        one("imgm", "ERROR: Missing scale mode value");
        one("imgx,", "ERROR: Invalid X coordinate value");
        one("imgx,1.5", "ERROR: Invalid X coordinate value");
        one("imgx,2147483648", "ERROR: Invalid X coordinate value");
        one("imgy,0x10", "ERROR: Invalid Y coordinate value");
        one("imgmx,5px", "ERROR: Invalid X movement value");
        one("imgmy,--1", "ERROR: Invalid Y movement value");
        for (const char* value : {"0", "-1", "abc", "inf", "nan", "1e999", "", "1.5x"}) {
            row(qPrintable(QStringLiteral("width scale %1 is refused").arg(QString::fromLatin1(value))),
                {QStringLiteral("imgws,%1").arg(QString::fromLatin1(value))},
                "ERROR: Invalid width scale value (must be positive)");
        }
        one("imghs,-0", "ERROR: Invalid height scale value (must be positive)");
        one("imgm,3", "ERROR: Invalid scale mode. Use: 0/STRETCH, 1/ASPECT_FIT, or 2/PADDING");
        one("echo,maybe", "ERROR: Invalid echo value. Use: 1/ON/TRUE or 0/OFF/FALSE");
        const char* const unknown =
            "ERROR: Unknown command 'foo'. Available commands: ImgX, ImgY, ImgMX, ImgMY, ImgWS, ImgHS, ImgM, Echo";
        one("Foo", unknown);

        row("an empty line repeats the line before it", {QStringLiteral("imgmx,100"), QString()},
            "OK: Image X position moved by 100 to 200", "200,0 1,1 mode 1 echo 1");
        row("an empty line repeats an invalid line",
            {QStringLiteral("imgx,1"), QStringLiteral("Foo"), QStringLiteral("  ")}, unknown, "1,0 1,1 mode 1 echo 1");
        row("repeating keeps the line for the next time",
            {QStringLiteral("imgmy,1"), QString(), QStringLiteral("\t"), QString()},
            "OK: Image Y position moved by 1 to 4", "0,4 1,1 mode 1 echo 1");
        row("nothing to repeat", {QStringLiteral("  ")}, "ERROR: No previous command to repeat");
    }

    void answersCommands()
    {
        QFETCH(QStringList, lines);
        QFETCH(QString, lastReply);
        QFETCH(QString, state);
        Session session;
        QString reply;
        for (const QString& line : lines)
            reply = session.reply(line);
        QCOMPARE(reply, lastReply);
        QCOMPARE(session.state(), state);
    }

    void reportsAlignment_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("inputSize");
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("reply");
        const auto row = [](const char* name, int format, int size, const char* line, const char* reply) {
            QTest::newRow(name) << format << size << QString::fromLatin1(line) << QString::fromLatin1(reply);
        };
        const char* const width = "OK: Image width scale set to 0.5 (adjusted from 51 to 52 pixels for alignment)";
        const char* const height = "OK: Image height scale set to 0.5 (adjusted from 51 to 52 pixels for alignment)";
        row("4:2:0 width, cut to whole pixels", AV_PIX_FMT_YUV420P, 103, "imgws,0.5", width);
        row("4:2:0 height", AV_PIX_FMT_YUV420P, 103, "imghs,0.5", height);
        row("NV12 height", AV_PIX_FMT_NV12, 102, "imghs,0.5", height);
        row("4:2:2 width", AV_PIX_FMT_YUV422P, 102, "imgws,0.5", width);
        row("4:2:2 heights may be odd", AV_PIX_FMT_YUV422P, 102, "imghs,0.5", "OK: Image height scale set to 0.5");
        row("full range 4:2:0 is not reported", AV_PIX_FMT_YUVJ420P, 102, "imgws,0.5",
            "OK: Image width scale set to 0.5");
        row("even size", AV_PIX_FMT_YUV420P, 100, "imgws,0.5", "OK: Image width scale set to 0.5");
        row("no frame has come yet", AV_PIX_FMT_YUV420P, 0, "imgws,0.5", "OK: Image width scale set to 0.5");
        row("a size beyond 32 bits is clamped", AV_PIX_FMT_YUV420P, 4096, "imgws,1e300",
            "OK: Image width scale set to 1e+300");
    }

    void reportsAlignment()
    {
        QFETCH(int, format);
        QFETCH(int, inputSize);
        QFETCH(QString, line);
        QFETCH(QString, reply);
        Session session(format);
        session.placement.inputWidth = inputSize;
        session.placement.inputHeight = inputSize;
        QCOMPARE(session.reply(line), reply);
    }

    void cutsLines_data()
    {
        QTest::addColumn<QStringList>("reads");
        QTest::addColumn<QString>("lines");
        const auto row = [](const char* name, const QStringList& reads, const char* lines) {
            QTest::newRow(name) << reads << QString::fromLatin1(lines);
        };
        row("CR LF", {QStringLiteral("a\r\nb\r\n")}, "[a][b]");
        row("lone LF and lone CR", {QStringLiteral("a\nb\rc\n")}, "[a][b\rc]");
        row("lone CR when no LF follows", {QStringLiteral("a\rb\r")}, "[a][b]");
        row("a CR LF anywhere wins over an earlier LF", {QStringLiteral("a\nb\r\nc\n")}, "[a\nb][c]");
        row("a line waits for its terminator", {QStringLiteral("ab"), QStringLiteral("c"), QStringLiteral("\r\n")},
            "[abc]");
        row("a pair cut in two ends two lines", {QStringLiteral("a\r"), QStringLiteral("\nb\n")}, "[a][][b]");
        row("empty lines count", {QStringLiteral("\r\n\r\n")}, "[][]");
        row("rest is kept", {QStringLiteral("a\r\nrest")}, "[a]");
    }

    void cutsLines()
    {
        QFETCH(QStringList, reads);
        QFETCH(QString, lines);
        LineSplitter splitter;
        QString cut;
        for (const QString& read : reads) {
            splitter.append(read);
            while (const auto line = splitter.next())
                cut +=
                    QLatin1Char('[') + (line->isTooLong ? QStringLiteral("too long") : line->text) + QLatin1Char(']');
        }
        QCOMPARE(cut, lines);
    }

    void dropsWhatIsTooLong()
    {
        for (const int parts : {3, 10}) {
            LineSplitter splitter;
            for (int part = 0; part < parts; ++part) {
                splitter.append(QString(LineSplitter::kMaxLineLength / 4, QLatin1Char('a')));
                QVERIFY(!splitter.next());
                QVERIFY(splitter.pending() <= LineSplitter::kMaxLineLength);
            }
            splitter.append(QStringLiteral("\nnext\n"));
            QCOMPARE(splitter.next()->isTooLong, parts == 10);
            QCOMPARE(splitter.next()->text, QStringLiteral("next"));
        }
        LineSplitter whole;
        whole.append(QString(LineSplitter::kMaxLineLength + 1, QLatin1Char('a')) + QLatin1Char('\n'));
        QVERIFY(whole.next()->isTooLong);
    }

    /// A search of the whole buffer for each of a million lines would not end.
    void cutsManyLinesFast()
    {
        for (const char* terminator : {"\r\n", "\n", "\r"}) {
            LineSplitter splitter;
            splitter.append(QString::fromLatin1(terminator).repeated(1'000'000));
            int lines = 0;
            while (splitter.next())
                ++lines;
            QCOMPARE(lines, 1'000'000);
        }
    }
};

PLUGBOARD_SUITE(ScalerCommandsTest)
#include "scaler_commands_test.moc"
