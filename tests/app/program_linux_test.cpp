// What only a Linux shell can do to the program.
#include "devices/device_record_manager.h"
#include "tests/support/bus_driver.h"
#include "tests/support/started_program.h"
#include "tests/support/suite_registry.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class ProgramLinuxTest : public QObject
{
    Q_OBJECT

private slots:
    void lostOutputIsAFailure_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::newRow("a list") << "--list --json";
        QTest::newRow("the version") << "--version";
    }

    void lostOutputIsAFailure()
    {
        QFETCH(QString, arguments);
        const QString line = QStringLiteral("'%1' %2 >/dev/full").arg(programBesideTest("plugboard"), arguments);
        QCOMPARE(QProcess::execute(QStringLiteral("sh"), {QStringLiteral("-c"), line}), 2);
    }

    /// The kernel's controller is the host here, or a server is.
    void asksForNoDriverOfAnotherSystem()
    {
        std::filesystem::remove(deviceTreeBesideTest());
        const QTemporaryDir folder;
        const RunByUser run = runWithUser(programBesideTest("plugboard"), {}, {}, folder.path());
        const bool wasTouched = std::filesystem::exists(deviceTreeBesideTest());
        QVERIFY(installBusDriverBesideTest());
        QCOMPARE(run.seen, QStringList{QStringLiteral("window Plugboard")});
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(!wasTouched, "a simulated driver store was made");
    }

    /// They make some 150 libraries, which take longer to load than a device takes to come up.
    void startsWithoutTheLibrariesOfMedia()
    {
        QProcess loader;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("LD_TRACE_LOADED_OBJECTS"), QStringLiteral("1"));
        loader.setProcessEnvironment(environment);
        loader.start(programBesideTest("plugboard"), QStringList());
        QVERIFY(loader.waitForFinished());
        const QByteArray loaded = loader.readAllStandardOutput();
        QVERIFY2(loaded.contains("libQt5Core.so"), loaded.constData());
        QVERIFY2(!loaded.contains("libavcodec") && !loaded.contains("libopencv"), loaded.constData());
    }

    /// As on a machine that is too busy to run the system's tool in time.
    void labLeavesNothingWhereTheFirstKillFails()
    {
        const QTemporaryDir folder;
        const auto write = [&folder](const char* name, const QByteArray& content) {
            QFile file(folder.filePath(QString::fromLatin1(name)));
            return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() &&
                   file.setPermissions(file.permissions() | QFile::ExeOwner);
        };
        QVERIFY(write("kill", "#!/bin/sh\n[ -e \"$0.called\" ] && exec /bin/kill \"$@\"\n: >\"$0.called\"\nexit 1\n"));
        QVERIFY(write("lab.json",
                      R"({"devices": [{"type": "keyboard"}, {"type": "camera", "settings": {"name": "a/b"}}]})"));
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", folder.path().toLocal8Bit() + ':' + path);
        const ProgramOutput run =
            runBesideTest("plugboard", {QStringLiteral("--lab"), folder.filePath(QStringLiteral("lab.json"))});
        qputenv("PATH", path);
        QCOMPARE(run.exitCode, 3);
        QVERIFY(QFile::exists(folder.filePath(QStringLiteral("kill.called"))));
        QCOMPARE(DeviceRecordManager().restoreDevices().size(), 0);
    }
};

PLUGBOARD_SUITE(ProgramLinuxTest)
#include "program_linux_test.moc"
