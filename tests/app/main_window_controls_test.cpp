// The main window by its controls: keys, menus, buttons, title bar and edges.
#include "app/device_type_bar.h"
#include "app/title_bar.h"
#include "app/window_place.h"
#include "tests/app/main_window_fixture.h"
#include "tests/support/suite_registry.h"
#include "tests/support/when_opens.h"

#include <QClipboard>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QRegularExpression>
#include <QtTest>

class MainWindowControlsTest : public QObject
{
    Q_OBJECT

private slots:
    void keyboardTakesTheSamePathsAsTheMouse()
    {
        MainWindowFixture fixture;
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
            QStringLiteral("Are you sure you want to delete device \"dev\"?\nThis will terminate process ID: 42"),
            false);
        QTest::keyClick(&table, Qt::Key_Delete);
        QCOMPARE(fixture.prompter.verify(), QString());

        fixture.save(record(DeviceType::Speaker, QStringLiteral("new"), 7));
        QTest::keyClick(&table, Qt::Key_F5);
        QCOMPARE(tableText(table), QStringLiteral("new|7|0x1d6b|0x0002|0200|Speaker"));
    }

    void menuCreatesEveryTypeAndRefreshes()
    {
        MainWindowFixture fixture;
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

    void contextMenuEntries_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QString>("table");
        QTest::newRow("Refresh List restores the records") << "Refresh List"
                                                           << "saved|7|0x1d6b|0x0002|0200|Speaker";
        QTest::newRow("USB Packet Capture leaves the table alone") << "USB Packet Capture"
                                                                   << "dev|42||||";
    }

    void contextMenuEntries()
    {
        QFETCH(QString, entry);
        QFETCH(QString, table);
        MainWindowFixture fixture;
        MainWindow window(nullptr, fixture.prompter, fixture.services());
        window.show();
        window.deviceTable().addDevice({QStringLiteral("dev"), QStringLiteral("42")});
        if (entry == QLatin1String("Refresh List"))
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

    void typeBarTellsOpenFeaturesFromClosedOnes()
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

        MainWindowFixture fixture;
        MainWindow window(nullptr, fixture.prompter, fixture.services());
        fixture.prompter.expectInformation(QStringLiteral("Info"),
                                           QStringLiteral("This feature is not yet open, please stay tuned ..."));
        emit window.findChild<DeviceTypeBar*>()->closedFeatureRequested();
        QCOMPARE(fixture.prompter.verify(), QString());
    }

    void titleBarHasTheDateAndMinimisesAndCloses()
    {
        MainWindowFixture fixture;
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

    void draggingStartsInTheTitleBarOnly()
    {
        MainWindowFixture fixture;
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

    void sideMarginsMakeItWider()
    {
        MainWindowFixture fixture;
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

    void placeIsRemembered()
    {
        MainWindowFixture fixture;
        MainWindow window(nullptr, fixture.prompter, fixture.services());
        window.setGeometry(30, 40, 760, 500);
        rememberPlace(window);
        MainWindow next(nullptr, fixture.prompter, fixture.services());
        QCOMPARE(next.size(), QSize(720, 500));
        restorePlace(next);
        QCOMPARE(next.geometry(), QRect(30, 40, 760, 500));
    }
};

PLUGBOARD_SUITE(MainWindowControlsTest)
#include "main_window_controls_test.moc"
