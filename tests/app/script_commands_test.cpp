#include "app/script_commands.h"
#include "tests/support/kill_tool.h"
#include "tests/support/suite_registry.h"

#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <memory>

class ScriptCommandsTest : public QObject
{
    Q_OBJECT

private slots:
    void listsOneLineADevice()
    {
        QCOMPARE(listDevices(*records(), false).output, QStringLiteral("a?b?c?[2Jd?\t42\t\t\t\tStorage\tRunning\n"));
        const QString json = listDevices(*records(), true).output;
        QVERIFY2(!json.contains(QChar(0x202e)), "a direction mark would turn the terminal's line round");
        const QJsonDocument list = QJsonDocument::fromJson(json.toUtf8());
        QCOMPARE(list[0][QStringLiteral("name")].toString(), QStringLiteral("a\nb\tc\u001b[2Jd\u202e"));
    }

    void deletes_data()
    {
        QTest::addColumn<qint64>("processId");
        QTest::addColumn<QString>("program");
        QTest::addColumn<int>("exitCode"); // of the tool; -1: it cannot be run
        QTest::addColumn<QString>("error");
        const QString device = m_program;
        QTest::newRow("a device ends and its record goes") << qint64(42) << device << 0 << "";
        QTest::newRow("a process without a record is left alone")
            << qint64(43) << device << 0 << "No device with process id 43 is running.\n";
        QTest::newRow("so is a program that got the id of a device whose record was left behind")
            << qint64(42) << "editor" << 0 << "Process 42 is another program now; its device has ended.\n";
        QTest::newRow("a failing tool is told")
            << qint64(42) << device << 3 << "Failed to terminate process ID: 42\nError code: 3\n";
        QTest::newRow("a missing tool is told") << qint64(42) << device << -1 << "Process termination timed out\n";
    }

    void deletes()
    {
        QFETCH(qint64, processId);
        QFETCH(QString, program);
        QFETCH(int, exitCode);
        QFETCH(QString, error);
        m_running = {42, 43};
        m_program = program;
        const auto manager = records();
        const auto toolFor = [&](qint64 ended) {
            if (exitCode == 0)
                m_running.erase(std::find(m_running.begin(), m_running.end(), ended));
            return toolExiting(exitCode);
        };
        const ScriptResult result = deleteDevice(*manager, processId, toolFor);
        QCOMPARE(result.error, error);
        QCOMPARE(result.exitCode, error.isEmpty() ? 0 : 2);
        QCOMPARE(m_running.size(), std::size_t(error.isEmpty() ? 1 : 2));
        QCOMPARE(manager->listRecords().size(), error.isEmpty() ? 0 : 1);
    }

private:
    /// Over a folder with the record of one device, in process 42.
    std::unique_ptr<DeviceRecordManager> records();

    QTemporaryDir m_folder;
    std::vector<std::uint32_t> m_running{42};
    QString m_program = QStringLiteral("usb-daemon.exe"); ///< of all that run
};

std::unique_ptr<DeviceRecordManager> ScriptCommandsTest::records()
{
    QFile file(m_folder.filePath(QStringLiteral("device_x_42.json")));
    if (file.open(QIODevice::WriteOnly))
        file.write(R"({"deviceType":6,"deviceName":"a\nb\tc\u001b[2Jd\u202e","processId":"42","isRunning":true})");
    return std::make_unique<DeviceRecordManager>(m_folder.path(),
                                                 [this] { return ProcessSnapshot(m_running, m_program); });
}

PLUGBOARD_SUITE(ScriptCommandsTest)
#include "script_commands_test.moc"
