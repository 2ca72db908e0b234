#include "app/device_table.h"
#include "app/device_type_bar.h"
#include "app/main_window.h"
#include "app/status_line.h"
#include "app/title_bar.h"
#include "app/window_place.h"
#include "devices/device_record_manager.h"
#include "devices/device_type.h"
#include "tests/support/kill_tool.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"
#include "tests/support/when_opens.h"

#include <QClipboard>
#include <QLabel>
#include <QMenu>
#include <QMetaMethod>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void slotsStandInMetaObjectOrder();
    void restoresWhatRuns();
    void recordThatEndedIsDeletedBeforeItIsShown();
    void deletes_data();
    void deletes();
    void deletingWhatIsNoDeviceIsToldOf_data();
    void deletingWhatIsNoDeviceIsToldOf();
    void keyboardTakesTheSamePathsAsTheMouse();
    void refreshKeepsWhatTheUserLooksAt();
    void menuCreatesEveryTypeAndRefreshes();
    void rowOfAProcessThatEndedIsDimmedAndCounted();
    void cellsWithoutADeviceDoNothing();
    void contextMenuEntries_data();
    void contextMenuEntries();
    void typeBarTellsOpenFeaturesFromClosedOnes();
    void titleBarHasTheDateAndMinimisesAndCloses();
    void draggingStartsInTheTitleBarOnly();
    void sideMarginsMakeItWider();
    void placeIsRemembered();
    void missingDeviceProcess();
    void launchesADevice();
};

namespace {

const QString kInvalidId = QStringLiteral("Invalid process ID");

DeviceRecord record(DeviceType type, const QString& name, qint64 processId)
{
    DeviceRecord made;
    made.deviceType = int(type);
    made.deviceName = name;
    made.processId = processId;
    made.usbVid = QStringLiteral("0x1d6b");
    made.usbPid = QStringLiteral("0x0002");
    made.usbVersion = QStringLiteral("0200");
    made.isRunning = true;
    return made;
}

/// A window over a records folder of its own, with device processes 1 to 999, and whose kill tool is chosen.
struct Fixture
{
    Fixture()
    {
        for (std::uint32_t id = 1; id < 1000; ++id)
            running.push_back(id);
    }

    QTemporaryDir folder;
    ScriptedPrompter prompter;
    KillCommand tool = toolExiting(0);
    std::vector<qint64> killed;
    QStringList captured; ///< process ids that packet capture was asked for
    std::vector<std::uint32_t> running;
    QString program = deviceProgramName(); ///< of all that run

    MainWindowServices services()
    {
        MainWindowServices made;
        made.launcher = DeviceLauncher(folder.path());
        made.recordsFolder = folder.path();
        made.takeSnapshot = [this] { return ProcessSnapshot(running, program); };
        made.killCommand = [this](qint64 processId) {
            killed.push_back(processId);
            return tool;
        };
        made.openCapture = [this](QWidget&, const QString& processId, Prompter&) { captured << processId; };
        return made;
    }

    void save(const DeviceRecord& saved) { DeviceRecordManager(folder.path(), nullptr).saveRecord(saved); }
};

QString tableText(const DeviceTable& table)
{
    QStringList lines;
    for (int row = 0; row < table.rowCount(); ++row) {
        const QStringList cells = table.cellTexts(row);
        if (!cells.join(QString()).isEmpty())
            lines << cells.join(QLatin1Char('|'));
    }
    lines.sort();
    return lines.join(QLatin1Char('\n'));
}

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

void MainWindowTest::slotsStandInMetaObjectOrder()
{
    const QMetaObject& meta = MainWindow::staticMetaObject;
    QStringList names;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        names << QString::fromLatin1(meta.method(i).name());
    QCOMPARE(names.join(QLatin1Char(' ')),
             QStringLiteral("onMinimize onClose CallUsbDaemon onCreateCamera onCreateMouse onCreateFido2 onCreateUsbIp "
                            "onCreateMicrophone onCreateSpeaker onCreateUsbStorage onCreateKeyboard "
                            "onTableItemDoubleClicked onTableWidgetContextMenu showDeviceDetails "
                            "onFido2DeviceConnected onFido2DeviceDisconnected showFido2UserConfirmationDialog"));
}

void MainWindowTest::restoresWhatRuns()
{
    Fixture fixture;
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

void MainWindowTest::recordThatEndedIsDeletedBeforeItIsShown()
{
    Fixture fixture;
    fixture.save(record(DeviceType::Mouse, QStringLiteral("gone"), 5000));
    fixture.save(record(DeviceType::Mouse, QStringLiteral("odd"), 0));
    MainWindow window(nullptr, fixture.prompter, fixture.services());
    QCOMPARE(QDir(fixture.folder.path()).entryList(QDir::Files), QStringList{QStringLiteral("device_odd_0.json")});
    // An id below 1 is kept by the stale pass, but no process has it: the row shows, and the record is marked stopped.
    QCOMPARE(tableText(window.deviceTable()), QStringLiteral("odd|0|0x1d6b|0x0002|0200|Mouse"));
    QVERIFY(
        !DeviceRecordManager(fixture.folder.path(), nullptr).loadRecord(QStringLiteral("device_odd_0.json")).isRunning);
}

void MainWindowTest::deletes_data()
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

void MainWindowTest::deletes()
{
    QFETCH(QString, pidCell);
    QFETCH(bool, answer);
    QFETCH(int, exitCode);
    QFETCH(QString, afterwards);
    Fixture fixture;
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

void MainWindowTest::deletingWhatIsNoDeviceIsToldOf_data()
{
    QTest::addColumn<qint64>("processId");
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("remark");
    QTest::newRow("another program has the process id now")
        << qint64(42) << "sle\nep"
        << "The device has ended. Its process ID now belongs to another program: sle\uFFFDep";
    QTest::newRow("no process has it") << qint64(5000) << deviceProgramName()
                                       << "The device has ended. \"Refresh List\" takes its row away.";
}

void MainWindowTest::deletingWhatIsNoDeviceIsToldOf()
{
    QFETCH(qint64, processId);
    QFETCH(QString, remark);
    Fixture fixture;
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

void MainWindowTest::keyboardTakesTheSamePathsAsTheMouse()
{
    Fixture fixture;
    MainWindow window(nullptr, fixture.prompter, fixture.services());
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    DeviceTable& table = window.deviceTable();
    table.addDevice({QStringLiteral("dev"), QStringLiteral("42"), QStringLiteral("x")});

    QVERIFY2(table.hasFocus(), "the table must take the keys from the start");
    QTest::keyClick(&table, Qt::Key_Delete);
    QCOMPARE(fixture.prompter.verify(), QString()); // nothing is selected yet

    table.setCurrentCell(0, 2);
    QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("dev\t42\tx\t\t\t"));

    fixture.prompter.expectQuestion(
        QStringLiteral("Confirm Deletion"),
        QStringLiteral("Are you sure you want to delete device \"dev\"?\nThis will terminate process ID: 42"), false);
    QTest::keyClick(&table, Qt::Key_Delete);
    QCOMPARE(fixture.prompter.verify(), QString());

    fixture.save(record(DeviceType::Speaker, QStringLiteral("new"), 7));
    QTest::keyClick(&table, Qt::Key_F5);
    QCOMPARE(tableText(table), QStringLiteral("new|7|0x1d6b|0x0002|0200|Speaker"));
}

void MainWindowTest::refreshKeepsWhatTheUserLooksAt()
{
    Fixture fixture;
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

void MainWindowTest::menuCreatesEveryTypeAndRefreshes()
{
    Fixture fixture;
    MainWindow window(nullptr, fixture.prompter, fixture.services());
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    bool asked = false;
    whenOpens(QStringLiteral("Camera Settings"), [&asked](QDialog& dialog) {
        asked = true;
        dialog.reject();
    });
    QTest::keyClick(&window.deviceTable(), Qt::Key_1, Qt::ControlModifier);
    QTRY_VERIFY(asked);

    window.activateWindow(); // without a window manager nobody else does
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QStringList entries;
    whenOpens<QMenu>({}, [&](QMenu& menu) {
        for (const QAction* action : menu.actions())
            entries << action->text() + QLatin1Char(' ') + action->shortcut().toString();
        for (int down = 0; down < 4; ++down)
            QTest::keyClick(&menu, Qt::Key_Down);
        QTest::keyClick(&menu, Qt::Key_Return);
    });
    QTest::keyClick(&window, Qt::Key_F10);
    // Its start is not checked, so a mouse has a row although there is no device program.
    QTRY_COMPARE(tableText(window.deviceTable()), QStringLiteral("mouse|0|Relative|||"));
    QCOMPARE(entries.join(QLatin1Char('|')),
             QStringLiteral("New camera... Ctrl+1|New microphone... Ctrl+2|New speaker Ctrl+3|New keyboard Ctrl+4|"
                            "New mouse Ctrl+5|New mass storage Ctrl+6|New security key... Ctrl+7|"
                            "New USB/IP device Ctrl+8| |Refresh List F5"));
}

void MainWindowTest::rowOfAProcessThatEndedIsDimmedAndCounted()
{
    Fixture fixture;
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

void MainWindowTest::cellsWithoutADeviceDoNothing()
{
    Fixture fixture;
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

void MainWindowTest::contextMenuEntries_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("table");
    QTest::newRow("Refresh List restores the records") << "Refresh List"
                                                       << "saved|7|0x1d6b|0x0002|0200|Speaker";
    QTest::newRow("USB Packet Capture leaves the table alone") << "USB Packet Capture"
                                                               << "dev|42||||";
}

void MainWindowTest::contextMenuEntries()
{
    QFETCH(QString, entry);
    QFETCH(QString, table);
    Fixture fixture;
    MainWindow window(nullptr, fixture.prompter, fixture.services());
    window.show();
    window.deviceTable().addDevice({QStringLiteral("dev"), QStringLiteral("42")});
    fixture.save(record(DeviceType::Speaker, QStringLiteral("saved"), 7));

    QStringList texts;
    whenOpens<QMenu>({}, [&](QMenu& menu) {
        for (QAction* action : menu.actions()) {
            texts << (action->isSeparator() ? QStringLiteral("--") : action->text());
            if (action->text() == entry)
                menu.setActiveAction(action);
        }
        QTest::keyClick(&menu, Qt::Key_Return);
    });
    window.onTableWidgetContextMenu(window.deviceTable().visualItemRect(window.deviceTable().item(0, 0)).center());
    QCOMPARE(texts.join(QLatin1Char('|')), QStringLiteral("Device Info|--|USB Packet Capture|--|Refresh List"));
    const bool captures = entry == QLatin1String("USB Packet Capture");
    QCOMPARE(fixture.captured.join(QLatin1Char(' ')), QLatin1String(captures ? "42" : ""));
    QCOMPARE(fixture.prompter.verify(), QString());
    QCOMPARE(tableText(window.deviceTable()), table);
}

void MainWindowTest::typeBarTellsOpenFeaturesFromClosedOnes()
{
    int calls = 0;
    const DeviceTypeBar bar(
        {{QString(), QStringLiteral("closed"), {}}, {QString(), QStringLiteral("open"), [&] { ++calls; }}});
    const QSignalSpy closed(&bar, &DeviceTypeBar::closedFeatureRequested);
    const auto buttons = bar.findChildren<QPushButton*>();
    QCOMPARE(buttons.size(), 2);
    for (QPushButton* button : buttons) {
        button->click();
        QCOMPARE(calls, button->toolTip() == QLatin1String("open") ? 1 : 0);
    }
    QCOMPARE(closed.size(), 1);

    Fixture fixture;
    MainWindow window(nullptr, fixture.prompter, fixture.services());
    fixture.prompter.expectInformation(QStringLiteral("Info"),
                                       QStringLiteral("This feature is not yet open, please stay tuned ..."));
    emit window.findChild<DeviceTypeBar*>()->closedFeatureRequested();
    QCOMPARE(fixture.prompter.verify(), QString());
}

void MainWindowTest::titleBarHasTheDateAndMinimisesAndCloses()
{
    Fixture fixture;
    MainWindow window(nullptr, fixture.prompter, fixture.services());
    window.show();
    const auto* bar = window.findChild<TitleBar*>();
    QStringList texts;
    for (const QLabel* label : bar->findChildren<QLabel*>())
        texts << label->text();
    QCOMPARE(texts.filter(QRegularExpression(QStringLiteral("^[A-Z][a-z]{2} [ 123][0-9] 20[0-9]{2}$"))).size(), 1);

    const auto click = [bar](const QString& toolTip) {
        for (QPushButton* button : bar->findChildren<QPushButton*>())
            if (button->toolTip() == toolTip)
                QTest::mouseClick(button, Qt::LeftButton);
    };
    click(QStringLiteral("min"));
    QVERIFY(window.isMinimized());
    window.showNormal();
    click(QStringLiteral("close"));
    QVERIFY(!window.isVisible());
}

void MainWindowTest::draggingStartsInTheTitleBarOnly()
{
    Fixture fixture;
    MainWindow window(nullptr, fixture.prompter, fixture.services());
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    window.move(100, 100);
    QTRY_COMPARE(window.pos(), QPoint(100, 100));

    const auto drag = [&window](const QPoint& from) {
        const auto send = [&window](QEvent::Type type, const QPoint& at, Qt::MouseButtons held) {
            QMouseEvent event(type, at, window.mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier);
            QCoreApplication::sendEvent(&window, &event);
        };
        send(QEvent::MouseButtonPress, from, Qt::LeftButton);
        send(QEvent::MouseMove, from + QPoint(30, 20), Qt::LeftButton);
        send(QEvent::MouseButtonRelease, from, Qt::NoButton);
        send(QEvent::MouseMove, from + QPoint(90, 90), Qt::LeftButton);
    };
    drag(QPoint(200, 400));
    QCOMPARE(window.pos(), QPoint(100, 100));
    drag(window.findChild<TitleBar*>()->geometry().center());
    QCOMPARE(window.pos(), QPoint(130, 120));
}

void MainWindowTest::sideMarginsMakeItWider()
{
    Fixture fixture;
    MainWindow window(nullptr, fixture.prompter, fixture.services());
    window.move(200, 100);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const auto pull = [&window](int from, int to) {
        const auto at = [&window](int x) { return window.mapFromGlobal(QPoint(x, 400)); };
        QTest::mousePress(window.windowHandle(), Qt::LeftButton, {}, at(from));
        QTest::mouseMove(window.windowHandle(), at(to));
        QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, {}, at(to));
    };
    pull(916, 1016);
    QCOMPARE(window.geometry(), QRect(200, 100, 820, 500));
    pull(203, 153);
    QCOMPARE(window.geometry(), QRect(150, 100, 870, 500));
    QCOMPARE(window.deviceTable().size(), QSize(870 - 2 * 8, 300));
    pull(1016, 300);
    QCOMPARE(window.geometry(), QRect(150, 100, 720, 500));
}

void MainWindowTest::placeIsRemembered()
{
    Fixture fixture;
    MainWindow window(nullptr, fixture.prompter, fixture.services());
    window.setGeometry(30, 40, 760, 500);
    rememberPlace(window);
    MainWindow next(nullptr, fixture.prompter, fixture.services());
    QCOMPARE(next.size(), QSize(720, 500));
    restorePlace(next);
    QCOMPARE(next.geometry(), QRect(30, 40, 760, 500));
}

void MainWindowTest::missingDeviceProcess()
{
    Fixture fixture;
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

void MainWindowTest::launchesADevice()
{
    Fixture fixture;
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

PLUGBOARD_SUITE(MainWindowTest)
#include "main_window_test.moc"
