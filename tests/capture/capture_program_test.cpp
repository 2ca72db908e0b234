#include "tests/capture/packet_bytes.h"
#include "tests/capture/scripted_capture_server.h"
#include "tests/emulation/end_request.h"
#include "tests/support/suite_registry.h"
#include "tools/capture/headless_capture.h"

#include <QFileInfo>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryFile>

using tests::CaptureServer;
using tests::frame;
using tests::PacketBytes;

class CaptureProgramTest : public QObject
{
    Q_OBJECT

private slots:
    void headlessPrintsDecodings()
    {
        CaptureServer server;
        QTemporaryFile output;
        QVERIFY(output.open());
        HeadlessCapture::Options options{server.processId(), 2, {}};
        options.print.deviceId = 7;
        HeadlessCapture capture(options, output);
        QSignalSpy finished(&capture, &HeadlessCapture::finished);
        QTRY_VERIFY(server.hasClient() && server.received().startsWith(char(10)));
        PacketBytes packet;
        packet.setup = QByteArray::fromHex("a181000200010200");
        PacketBytes other = packet; // not asked for
        other.deviceId = 8;
        server.send(frame(1, other.payload()) + frame(1, packet.payload()));
        QTRY_VERIFY(QFileInfo(output.fileName()).size() > 0);
        QCOMPARE(finished.count(), 0); // who watches sees the line when it comes
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(finished[0][0].toString(), QString());
        output.seek(0);
        const QByteArray lines = output.readAll();
        QCOMPARE(lines.count('\n'), 1);
        QVERIFY(lines.endsWith("1 REQ 0x00 CTL IN 0 INN CLS TO_INF GET_CUR(0x81) [INTF:00 UNIT:01 CS:02 ZERO:00]\n"));
    }

    void interruptedProgramStopsTheCapture()
    {
        CaptureServer server;
        EndRequest interrupt;
        QProcess process;
        process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/plugboard-capture"),
                      {QString::number(server.processId()), QStringLiteral("--headless"), QStringLiteral("1000")});
        QTRY_VERIFY_WITH_TIMEOUT(server.hasClient() && server.received().startsWith(char(10)), 30000);
        server.takeReceived();
        QVERIFY(interrupt.send(process));
        QTRY_VERIFY_WITH_TIMEOUT(process.state() == QProcess::NotRunning, 30000);
        QTRY_VERIFY(server.received().startsWith(char(11)));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
    }

    void programSpeaksWithoutADisplay_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("text"); // in what it prints
        QTest::newRow("help") << "--help" << 0 << "--headless <SECONDS>";
        QTest::newRow("version") << "--version" << 0 << "plugboard-capture " PLUGBOARD_VERSION;
        QTest::newRow("nothing asked for") << "" << 3 << "The process id of a device process, or a file, is missing.";
        QTest::newRow("unknown option") << "--nonsense" << 3 << "Unknown option 'nonsense'.";
        QTest::newRow("process id") << "12x" << 3 << "'12x' is neither a process id nor a file.";
        QTest::newRow("two process ids") << "12 13" << 3 << "Unexpected argument '13'.";
        QTest::newRow("device id") << "12 --device -1" << 3 << "'-1' is not a device id.";
        QTest::newRow("filter") << "12 --filter endpoint==" << 3 << "--filter, letter 11: A number is expected here";
        QTest::newRow("seconds") << "12 --headless nan" << 3 << "'nan' is not a number of seconds.";
        QTest::newRow("no device process")
            << "4000000 --headless 0.1" << 1 << "there is no capture server of process 4000000";
    }

    void programSpeaksWithoutADisplay()
    {
        QFETCH(QString, arguments);
        QFETCH(QString, text);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            environment.remove(QLatin1String(name));
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/plugboard-capture"),
                      arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts));
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QTEST(process.exitCode(), "exitCode");
        const QString printed = QString::fromUtf8(process.readAll());
        QVERIFY2(printed.contains(text), qPrintable(printed));
    }
};

PLUGBOARD_SUITE(CaptureProgramTest)
#include "capture_program_test.moc"
