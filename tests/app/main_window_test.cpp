#include "app/status_line.h"
#include "tests/app/main_window_fixture.h"
#include "tests/support/suite_registry.h"

#include <QLabel>
#include <QMetaMethod>
#include <QScrollBar>
#include <QSet>
#include <QtTest>

namespace {

const QString kInvalidId = QStringLiteral("Invalid process ID");

/// What the status line says of the devices, its texts with a stroke between them.
QString statusOf(const MainWindow& window)
{
    QStringList texts;
    for (const QLabel* label : window.findChild<StatusLine*>()->findChildren<QLabel*>()) {
        if (label->isVisibleTo(&window) && !label->text().contains(QLatin1String("F5")))
            texts << label->text();
    }
    return texts.join(QLatin1Char('|'));
}

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void slotsStandInMetaObjectOrder()
    {
        const QMetaObject& meta = MainWindow::staticMetaObject;
        QStringList names;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            names << QString::fromLatin1(meta.method(i).name());
        QCOMPARE(
            names.join(QLatin1Char(' ')),
            QStringLiteral("onMinimize onClose CallUsbDaemon onCreateCamera onCreateMouse onCreateFido2 onCreateUsbIp "
                           "onCreateMicrophone onCreateSpeaker onCreateUsbStorage onCreateKeyboard "
                           "onTableItemDoubleClicked onTableWidgetContextMenu showDeviceDetails "
                           "onFido2DeviceConnected onFido2DeviceDisconnected showFido2UserConfirmationDialog"));
    }

    void restoresWhatRuns()
    {
        MainWindowFixture fixture;
        for (int type = 0; type <= 9; ++type) // of which 0 and 9 are none
            fixture.save(record(DeviceType(type), QStringLiteral("a & %1").arg(type), 10 + type));
        DeviceRecord microphone = record(DeviceType::Microphone, QStringLiteral("mic"), 20);
        microphone.publicParams = QStringLiteral("3,1,2,mic,0,2.0,1").split(QLatin1Char(','));
        fixture.save(microphone);
        DeviceRecord stopped = record(DeviceType::Mouse, QStringLiteral("stopped"), 21);
        stopped.isRunning = false;
        fixture.save(stopped);

        MainWindow window(nullptr, fixture.prompter, fixture.services());
        const DeviceTable& table = window.deviceTable();
        QCOMPARE(tableText(table), QStringLiteral("a & 1|11|0x1d6b|0x0002|0200|Camera\n"
                                                  "a & 2|12|0x1d6b|0x0002|0200|FIDO2\n"
                                                  "a & 3|13|0x1d6b|0x0002|0200|Mouse\n"
                                                  "a & 4|14|0x1d6b|0x0002|0200|Keyboard\n"
                                                  "a & 5|15|0x1d6b|0x0002|0200|Network\n"
                                                  "a & 6|16|0x1d6b|0x0002|0200|Storage\n"
                                                  "a & 7|17|0x1d6b|0x0002|0200|Microphone (UAC 1.0, Normal)\n"
                                                  "a & 8|18|0x1d6b|0x0002|0200|Speaker\n"
                                                  "mic|20|0x1d6b|0x0002|0200|Microphone (UAC 2.0, RT)"));
        QSet<qint64> microphoneIcons;
        for (int row = 0; row < 9; ++row) {
            const QIcon icon = table.item(row, 0)->icon();
            QCOMPARE(icon.isNull(), table.item(row, 1)->text() < QLatin1String("14"));
            if (table.cellTexts(row).last().startsWith(QLatin1String("Microphone")))
                microphoneIcons << icon.cacheKey();
            const QImage selected = icon.pixmap(16, QIcon::Selected).toImage();
            QVERIFY2(icon.isNull() || selected.pixelColor(0, selected.height() / 2).alpha() == 255,
                     "a blue icon vanishes on a selected row unless a plate is behind it");
        }
        QCOMPARE(microphoneIcons.size(), 1); // one for all, or a thousand rows need 300 MB
    }

    void recordThatEndedIsDeletedBeforeItIsShown()
    {
        MainWindowFixture fixture;
        fixture.save(record(DeviceType::Mouse, QStringLiteral("gone"), 5000));
        fixture.save(record(DeviceType::Mouse, QStringLiteral("odd"), 0));
        MainWindow window(nullptr, fixture.prompter, fixture.services());
        QCOMPARE(QDir(fixture.folder.path()).entryList(QDir::Files), QStringList{QStringLiteral("device_odd_0.json")});
        // An id below 1 is kept by the stale pass, but no process has it: the row shows, and the record is marked
        // stopped.
        QCOMPARE(tableText(window.deviceTable()), QStringLiteral("odd|0|0x1d6b|0x0002|0200|Mouse"));
        QVERIFY(!DeviceRecordManager(fixture.folder.path(), nullptr)
                     .loadRecord(QStringLiteral("device_odd_0.json"))
                     .isRunning);
    }

    void deletes_data()
    {
        QTest::addColumn<QString>("pidCell");
        QTest::addColumn<bool>("answer");
        QTest::addColumn<int>("exitCode"); // -1: the tool cannot be run
        QTest::addColumn<QString>("afterwards");
        QTest::newRow("a yes ends the process and takes the row")
            << "42" << true << 0 << "Success|Device \"dev\" has been successfully deleted";
        QTest::newRow("a no does nothing") << "42" << false << 0 << "";
        QTest::newRow("a failing tool keeps the row")
            << "42" << true << 3 << "Error|Failed to terminate process ID: 42\nError code: 3";
        QTest::newRow("a tool that never ends keeps the row")
            << "42" << true << -1 << "Error|Process termination timed out";
        QTest::newRow("a word is no process id") << "mouse" << true << 0 << "Warning|Invalid process ID";
        QTest::newRow("process id 0 is refused") << "0" << true << 0 << "Warning|Invalid process ID";
        QTest::newRow("a negative process id is refused") << "-4" << true << 0 << "Warning|Invalid process ID";
        QTest::newRow("an empty process id is refused") << "" << true << 0 << "Warning|Invalid process ID";
    }

    void deletes()
    {
        QFETCH(QString, pidCell);
        QFETCH(bool, answer);
        QFETCH(int, exitCode);
        QFETCH(QString, afterwards);
        MainWindowFixture fixture;
        fixture.tool = toolExiting(exitCode);
        MainWindow window(nullptr, fixture.prompter, fixture.services());
        DeviceTable& table = window.deviceTable();
        table.addDevice({QStringLiteral("dev"), pidCell});

        const QString title = afterwards.section(QLatin1Char('|'), 0, 0);
        const QString text = afterwards.section(QLatin1Char('|'), 1);
        if (text != kInvalidId)
            fixture.prompter.expectQuestion(
                QStringLiteral("Confirm Deletion"),
                QStringLiteral("Are you sure you want to delete device \"dev\"?\nThis will terminate process ID: 42"),
                answer);
        if (title == QLatin1String("Success"))
            fixture.prompter.expectInformation(title, text);
        else if (!title.isEmpty())
            fixture.prompter.expectWarning(title, text);

        emit table.itemDoubleClicked(table.item(0, 1));
        QCOMPARE(fixture.prompter.verify(), QString());
        QCOMPARE(table.item(0, 0) == nullptr, title == QLatin1String("Success"));
        QCOMPARE(fixture.killed.size(), std::size_t(answer && text != kInvalidId ? 1 : 0));
        QCOMPARE(table.rowCount(), 10);
    }

    void deletingWhatIsNoDeviceIsToldOf_data()
    {
        QTest::addColumn<qint64>("processId");
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("remark");
        QTest::newRow("another program has the process id now")
            << qint64(42) << "sle\nep"
            << "The device has ended. Its process ID now belongs to another program: sle\uFFFDep";
        QTest::newRow("no process has it")
            << qint64(5000) << deviceProgramName() << "The device has ended. \"Refresh List\" takes its row away.";
    }

    void deletingWhatIsNoDeviceIsToldOf()
    {
        QFETCH(qint64, processId);
        QFETCH(QString, remark);
        MainWindowFixture fixture;
        QFETCH(QString, program);
        fixture.program = program;
        MainWindow window(nullptr, fixture.prompter, fixture.services());
        DeviceTable& table = window.deviceTable();
        table.addDevice({QStringLiteral("a\"?\nb\u202ec"), QString::number(processId)});
        fixture.prompter.expectQuestion(
            QStringLiteral("Confirm Deletion"),
            QStringLiteral(
                "Are you sure you want to delete device \"a\"?\uFFFDb\uFFFDc\"?\nThis will terminate process ID: %1")
                .arg(processId),
            false, remark);
        emit table.itemDoubleClicked(table.item(0, 0));
        QCOMPARE(fixture.prompter.verify(), QString());
        QVERIFY(table.isEnded(0));
    }

    void refreshKeepsWhatTheUserLooksAt()
    {
        MainWindowFixture fixture;
        for (int id = 1; id <= 40; ++id)
            fixture.save(record(DeviceType::Speaker, QStringLiteral("device"), id));
        MainWindow window(nullptr, fixture.prompter, fixture.services());
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        DeviceTable& table = window.deviceTable();
        table.setCurrentCell(30, 2);
        table.verticalScrollBar()->setValue(25);
        const QString chosen = table.identityAt(30)->processId;
        const QString first = table.identityAt(0)->processId;
        QVERIFY(QFile::remove(fixture.folder.filePath(QStringLiteral("device_device_%1.json").arg(first))));
        QTest::keyClick(&table, Qt::Key_F5);
        QCOMPARE(table.rowCount(), 39);
        QCOMPARE(table.identityAt(table.selectedRow())->processId, chosen);
        QCOMPARE(table.currentColumn(), 2);
        QCOMPARE(table.verticalScrollBar()->value(), 25);
    }

    void showsWhatScriptsMake()
    {
        MainWindowFixture fixture;
        for (int id = 1; id <= 12; ++id)
            fixture.save(record(DeviceType::Speaker, QStringLiteral("old"), id));
        MainWindow window(nullptr, fixture.prompter, fixture.services());
        window.show();
        DeviceTable& table = window.deviceTable();
        table.addDevice({QStringLiteral("mine"), QStringLiteral("20")});
        table.setCurrentCell(5, 2);
        const QString chosen = table.identityAt(5)->processId;

        fixture.save(record(DeviceType::Keyboard, QStringLiteral("mine"), 20)); // its device says so
        fixture.save(record(DeviceType::Keyboard, QStringLiteral("ended"), 5000));
        fixture.save(record(DeviceType::Keyboard, QStringLiteral("script's"), 30));
        QTRY_COMPARE(table.rowCount(), 14);
        QCOMPARE(table.cellTexts(13).join(QLatin1Char('|')), QStringLiteral("script's|30|0x1d6b|0x0002|0200|Keyboard"));
        QCOMPARE(table.identityAt(table.selectedRow())->processId, chosen);
        QCOMPARE(statusOf(window).section(QLatin1Char('|'), 0, 0), QStringLiteral("14 devices"));
    }

    void rowOfAProcessThatEndedIsDimmedAndCounted()
    {
        MainWindowFixture fixture;
        for (const qint64 id : {7, 8})
            fixture.save(record(DeviceType::Speaker, QStringLiteral("device"), id));
        MainWindow window(nullptr, fixture.prompter, fixture.services());
        window.show();
        QCOMPARE(statusOf(window).section(QLatin1Char('|'), 0, 0), QStringLiteral("2 devices"));
        fixture.running.erase(fixture.running.begin() + 7); // process 8
        const DeviceTable& table = window.deviceTable();
        const int ended = table.identityAt(0)->processId == QLatin1String("8") ? 0 : 1;
        QTRY_VERIFY(table.isEnded(ended));
        QVERIFY(!table.isEnded(1 - ended));
        QCOMPARE(table.item(ended, 0)->toolTip(), QStringLiteral("device"));
        QCOMPARE(statusOf(window).section(QLatin1Char('|'), 0, 0), QStringLiteral("2 devices, 1 ended"));
    }

    void cellsWithoutADeviceDoNothing()
    {
        MainWindowFixture fixture;
        MainWindow window(nullptr, fixture.prompter, fixture.services());
        window.show();
        // A menu would block here for ever.
        window.onTableWidgetContextMenu(QPoint(5, 5));
        window.onTableWidgetContextMenu(QPoint(5, 5000));
        window.onTableItemDoubleClicked(nullptr);
        window.deviceTable().setItem(3, 4, new QTableWidgetItem(QStringLiteral("neither name nor process id")));
        window.onTableItemDoubleClicked(window.deviceTable().item(3, 4));
        QCOMPARE(fixture.prompter.verify(), QString());
    }

    void statusLineSaysWhatTheHostIs_data()
    {
        QTest::addColumn<int>("way");
        QTest::addColumn<QString>("text");
        QTest::newRow("the kernel's controller") << int(HostWay::Kernel) << "Host: this computer";
        QTest::newRow("a server on loopback") << int(HostWay::Server) << "Host: USB/IP clients";
    }

    void statusLineSaysWhatTheHostIs()
    {
        QFETCH(int, way);
        MainWindowFixture fixture;
        fixture.hostWay = HostWay(way);
        const MainWindow window(nullptr, fixture.prompter, fixture.services());
        QTEST(statusOf(window).section(QLatin1Char('|'), -1), "text");
    }

    void missingDeviceProcess()
    {
        MainWindowFixture fixture;
        MainWindow window(nullptr, fixture.prompter, fixture.services());
        QCOMPARE(statusOf(window), QStringLiteral("No devices|usb-daemon.exe is missing"));
        bool called = false;
        window.CallUsbDaemon(QStringLiteral("keyboard"), QStringLiteral("7\na\nb\nc"),
                             [&called](qint64) { called = true; });
        QVERIFY(!called);
        QCOMPARE(tableText(window.deviceTable()), QString());
        // The mouse's start is not checked.
        QVERIFY(QMetaObject::invokeMethod(&window, "onCreateMouse"));
        QCOMPARE(tableText(window.deviceTable()), QStringLiteral("mouse|0|Relative|||"));
        QVERIFY(!window.deviceTable().item(0, 0)->icon().isNull());
        QCOMPARE(statusOf(window), QStringLiteral("1 device, 1 ended|usb-daemon.exe is missing"));
    }

    void launchesADevice()
    {
        MainWindowFixture fixture;
        MainWindowServices services = fixture.services();
        services.launcher = DeviceLauncher();
        services.takeSnapshot = &ProcessSnapshot::take;
        MainWindow window(nullptr, fixture.prompter, services);
        qint64 started = 0;
        window.CallUsbDaemon(QStringLiteral("udisk"), QStringLiteral("6\n0x1\n2\nDisk\n\n0200\nEND"),
                             [&started](qint64 processId) { started = processId; });
        QVERIFY(started > 0);
        QCOMPARE(tableText(window.deviceTable()), QStringLiteral("Disk|%1|0x0x1|0x2||udisk").arg(started));
        QVERIFY_EXCEPTION_THROWN(window.CallUsbDaemon(QStringLiteral("udisk"), QStringLiteral("6"), nullptr),
                                 std::bad_function_call);
        // Neither is a list that the device process accepts: both end by themselves, which shows at once.
        QTRY_COMPARE(statusOf(window), QStringLiteral("2 devices, 2 ended"));
        QVERIFY(!ProcessSnapshot::take().contains(started));
    }
};

PLUGBOARD_SUITE(MainWindowTest)
#include "main_window_test.moc"
