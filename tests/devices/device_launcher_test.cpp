#include "devices/device_launcher.h"

#include "devices/process_table.h"
#include "emulation/message/message_decoder.h"
#include "tests/devices/device_children.h"
#include "tests/support/log_lines.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

class DeviceLauncherTest : public QObject
{
    Q_OBJECT

private slots:
    void handsOverTheMessage()
    {
        DeviceChildren children;
        const QString joined = QStringLiteral("7\n1d6b\n0002\nKeyboard \u00e4\n") + QString(500, QLatin1Char('x'));
        const auto id = m_launcher.launch(joined);
        QVERIFY(id && *id > 0);
        children.add(*id);
        QTRY_VERIFY_WITH_TIMEOUT(children.hasReport(*id, "message"), 20000);
        const QByteArray message = children.report(*id, "message");
        QVERIFY(message.endsWith('\n'));

        QFile keyFile(QStringLiteral(DEV_PRIVATE_KEY));
        if (keyFile.open(QIODevice::ReadOnly)) { // absent when the build was given its public key
            const auto key = deviceKeyFromPem(keyFile.readAll());
            QCOMPARE(key.fault(), QString());
            QCOMPARE(decodeMessage(message.chopped(1), key.value()).value(), joined);
        }
        QVERIFY(ProcessSnapshot::take().contains(*id));
        QVERIFY2(!children.hasReport(*id, "eof"), "standard input must stay open");
        QVERIFY2(!children.hasReport(*id, "extra"), "nothing may follow the message");
    }

    void severalInOneTurnDoNotStarve()
    {
        DeviceChildren children;
        std::vector<qint64> ids;
        for (int i = 0; i < 3; ++i) {
            ids.push_back(m_launcher.launch(QString(2000, QLatin1Char('x'))).value_or(0));
            children.add(ids.back());
            QVERIFY2(children.waitForReport(ids.front(), "message"), "the first waits for the event loop");
        }
        for (const qint64 id : ids)
            QVERIFY(children.waitForReport(id, "message"));
    }

    void bareDeviceGetsNothing()
    {
        DeviceChildren children;
        const qint64 bare = m_launcher.launchBare();
        const auto other = m_launcher.launch(QStringLiteral("x"));
        children.add(bare);
        children.add(other.value_or(0));
        QVERIFY(bare > 0 && other && *other != bare);
        QTRY_VERIFY_WITH_TIMEOUT(children.hasReport(*other, "message"), 20000);
        QVERIFY2(children.waitForReport(bare, "eof"), "an open input has the device wait for a message");
        QCOMPARE(children.report(bare, "message"), QByteArray());
    }

    void missingProgramStartsNothing()
    {
        const DeviceChildren children;
        const DeviceLauncher launcher(children.emptyFolder());
        QVERIFY(!launcher.launch(QStringLiteral("x")));
        QCOMPARE(launcher.launchBare(), 0);
    }

    void endedChildIsToldAndLogged()
    {
        const LogLines log;
        // More than a pipe holds, so that the child's end is met while writing.
        const DeviceChildren children("exit");
        bool told = false;
        const auto id =
            m_launcher.launch(QString(100000, QLatin1Char('x')), [&told](const DeviceEnd&) { told = true; });
        QVERIFY2(id && *id > 0, "the id must outlive the process");
        QTRY_VERIFY_WITH_TIMEOUT(told, 20000);
        QVERIFY(!ProcessSnapshot::take().contains(*id));
        const QString end = QStringLiteral("Device process %1 ended, exit code 3 no such key\n").arg(*id);
        QVERIFY2(log.text().contains(end), qPrintable(log.text()));
    }

    void deafChildIsNotWaitedFor()
    {
        DeviceChildren children("deaf");
        const auto id = m_launcher.launch(QString(100000, QLatin1Char('x')));
        QVERIFY(id);
        children.add(*id);
        QVERIFY2(ProcessSnapshot::take().contains(*id), "launching must return while the child sleeps");
    }

    void chatterDoesNotBlock()
    {
        DeviceChildren children("flood");
        const qint64 id = m_launcher.launch(QStringLiteral("x")).value_or(0);
        children.add(id);
        QVERIFY2(children.waitForReport(id, "message"), "the child must get rid of its output with nobody reading it");
    }

    void killedChildDoesNotRun()
    {
        const DeviceChildren children;
        const qint64 id = m_launcher.launch(QStringLiteral("x")).value_or(0);
        QVERIFY(ProcessSnapshot::take().runsProgram(id, deviceProgramName()));
        QVERIFY(!ProcessSnapshot::take().runsProgram(QCoreApplication::applicationPid(), deviceProgramName()));
        const KillCommand kill = killCommand(id);
        QCOMPARE(QProcess::execute(kill.program, kill.arguments), 0);
        QTRY_VERIFY_WITH_TIMEOUT(!ProcessSnapshot::take().contains(id), 20000);
        const KillCommand vain = killCommand(0x7ffffff0); // an id that no system gives
        QVERIFY(QProcess::execute(vain.program, vain.arguments) != 0);
        QVERIFY(ProcessSnapshot::take().contains(QCoreApplication::applicationPid()));
    }

private:
    const DeviceLauncher m_launcher{QStringLiteral(TEST_CHILD_FOLDER)};
};

PLUGBOARD_SUITE(DeviceLauncherTest)
#include "device_launcher_test.moc"
