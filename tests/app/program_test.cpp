#include "devices/device_record_manager.h"
#include "devices/process_table.h"
#include "tests/support/bus_driver.h"
#include "tests/support/started_program.h"
#include "tests/support/suite_registry.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

/// The program itself, as a script or a person starts it, with real device processes.
class ProgramTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(installBusDriverBesideTest()); }

    void init() { QVERIFY2(listed().isEmpty(), "devices of an earlier run are left in the test's folder"); }

    void cleanup()
    {
        const QJsonArray left = listed();
        for (const QJsonValue& device : left)
            run({QStringLiteral("--delete"), QString::number(device[QStringLiteral("processId")].toInt())});
    }

    void asksForTheDriverAtTheFirstStart_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("No ends the program") << QStringLiteral("No") << 255;
        QTest::newRow("so does closing the question") << QStringLiteral("Close") << 255;
        QTest::newRow("Yes installs and opens the window") << QStringLiteral("Yes") << 0;
    }

    void asksForTheDriverAtTheFirstStart()
    {
        QFETCH(QString, answer);
        std::filesystem::remove(deviceTreeBesideTest());
        const QTemporaryDir folder;
        const RunByUser run =
            runWithUser(programBesideTest("plugboard"), {QStringLiteral("--demo")}, {answer}, folder.path());
        const bool changed = std::filesystem::exists(deviceTreeBesideTest());
        const auto platform = driver::simulatedPlatform(deviceTreeBesideTest());
        const bool installed = driver::BusDriverSetup(*platform, std::wstring()).installed();
        QVERIFY(installBusDriverBesideTest());

        const bool isYes = answer == QLatin1String("Yes");
        QStringList seen{QStringLiteral("Error: Driver not installed, about to install virtual USB bus driver! "
                                        "Please confirm that driver signature enforcement is disabled!")};
        if (isYes)
            seen << QStringLiteral("window Plugboard");
        QCOMPARE(run.seen, seen);
        QTEST(run.exitCode, "exitCode");
        QCOMPARE(installed, isYes);
        QVERIFY2(changed == isYes, "the driver engine was called");
    }

    void devicesOutliveTheProgramAndAreListedAndDeleted()
    {
        QProcess window;
        window.start(programBesideTest("plugboard"),
                     {QStringLiteral("--demo"), QStringLiteral("--create"), QStringLiteral("keyboard"),
                      QStringLiteral("--create"), QStringLiteral("mouse"), QStringLiteral("--create"),
                      QStringLiteral("usbip")});
        QVERIFY(window.waitForStarted());
        QTRY_COMPARE_WITH_TIMEOUT(listed().size(), 3, 60000);
        window.kill();
        QVERIFY(window.waitForFinished());

        QStringList types;
        const QJsonArray devices = listed();
        for (const QJsonValue& device : devices)
            types << device[QStringLiteral("type")].toString() + QLatin1Char(' ') +
                         device[QStringLiteral("name")].toString();
        types.sort();
        QCOMPARE(types.join(QLatin1Char('|')),
                 QStringLiteral("keyboard Keyboard Device|mouse Mouse Device|usbip USBIP Device"));

        const int ended = devices[0].toObject()[QStringLiteral("processId")].toInt();
        const ProgramOutput removal = run({QStringLiteral("--delete"), QString::number(ended)});
        QCOMPARE(removal.error, QByteArray());
        QCOMPARE(removal.exitCode, 0);
        QVERIFY(!ProcessSnapshot::take().contains(ended));
        QCOMPARE(listed().size(), 2);
    }

    void createsFromSettingsWithoutADialog()
    {
        QProcess window;
        window.setWorkingDirectory(QDir::rootPath());
        window.start(programBesideTest("plugboard"),
                     QStringLiteral("--demo --create microphone --set realtime=on --set source=a.wav "
                                    "--create camera --set resolution=1366x768 --set port=9")
                         .split(QLatin1Char(' ')));
        QVERIFY(window.waitForStarted());
        QTRY_COMPARE_WITH_TIMEOUT(listed().size(), 2, 60000);
        window.kill();
        QVERIFY(window.waitForFinished());

        QStringList lists;
        const DeviceRecordManager records;
        const auto devices = records.restoreDevices();
        for (const auto& device : devices)
            lists << device.record.publicParams.join(QLatin1Char('|'));
        lists.sort();
        QCOMPARE(lists.join(QLatin1Char('\n')),
                 QStringLiteral("1|0x1234|0x5678|UVC Camera|0|http://127.0.0.1:9/video|7|-1|1366|768|25|0x0100|1|END\n"
                                "3|1d6b|0002|USB Microphone|0|1.0|1|%1a.wav|2|48000|1|END")
                     .arg(QDir::rootPath()));
    }

    void refusesToEndAProcessThatIsNoDevice()
    {
        // As left behind by a device whose id this process got afterwards.
        DeviceRecord record;
        record.deviceType = 3;
        record.deviceName = QStringLiteral("left behind");
        record.processId = QCoreApplication::applicationPid();
        record.isRunning = true;
        DeviceRecordManager().saveRecord(record);
        const ProgramOutput result = run({QStringLiteral("--delete"), QString::number(record.processId)});
        QVERIFY(
            QFile::remove(QCoreApplication::applicationDirPath() + QLatin1Char('/') + deviceRecordFileName(record)));
        QCOMPARE(result.exitCode, 2);
        QCOMPARE(QString::fromUtf8(result.error).trimmed(),
                 QStringLiteral("Process %1 is another program now; its device has ended.").arg(record.processId));
    }

    void badArgumentsExitWith2()
    {
        const ProgramOutput result = run({QStringLiteral("--create"), QStringLiteral("toaster")});
        QCOMPARE(result.exitCode, 2);
        QVERIFY2(result.error.startsWith("Unknown device type 'toaster'."), result.error.constData());
        const ProgramOutput setting = run({QStringLiteral("--create"), QStringLiteral("camera"),
                                           QStringLiteral("--set"), QStringLiteral("rate=fast")});
        QCOMPARE(setting.exitCode, 2);
        QVERIFY2(setting.error.startsWith("--create camera: 'fast' is no value for rate;"), setting.error.constData());
        QVERIFY(run({QStringLiteral("--help")}).out.contains("--create"));
    }

    void windowIsAsLargeAsTheDensityAsks_data()
    {
        QTest::addColumn<QByteArray>("dotsPerInch");
        QTest::addColumn<QSize>("pixels");
        QTest::newRow("ordinary") << QByteArray("96") << QSize(720, 500);
        QTest::newRow("half as dense again") << QByteArray("144") << QSize(1080, 750);
        QTest::newRow("twice as dense") << QByteArray("192") << QSize(1440, 1000);
    }

    /// Also a start with options of Qt's own, which it takes before the program reads the others.
    void windowIsAsLargeAsTheDensityAsks()
    {
        QFETCH(QByteArray, dotsPerInch);
        const QTemporaryDir folder;
        qputenv("QT_FONT_DPI", dotsPerInch);
        const RunByUser run = runWithUser(
            programBesideTest("plugboard"),
            {QStringLiteral("-style"), QStringLiteral("fusion"), QStringLiteral("--demo")}, {}, folder.path());
        qunsetenv("QT_FONT_DPI");
        QCOMPARE(run.seen, QStringList{QStringLiteral("window Plugboard")});
        const QImage seen(folder.filePath(QString::fromLatin1(kSeenPicture).arg(1)));
        QTEST(seen.size(), "pixels");
    }

private:
    ProgramOutput run(const QStringList& arguments) const { return runBesideTest("plugboard", arguments); }
    QJsonArray listed() const;
};

QJsonArray ProgramTest::listed() const
{
    return QJsonDocument::fromJson(run({QStringLiteral("--list"), QStringLiteral("--json")}).out).array();
}

PLUGBOARD_SUITE(ProgramTest)
#include "program_test.moc"
