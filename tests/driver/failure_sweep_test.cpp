#include "driver/command_table.h"
#include "driver/device_interfaces.h"
#include "driver/engine.h"
#include "driver/platform/simulated_platform.h"
#include "tests/driver/captured_output.h"
#include "tests/driver/failing_call.h"
#include "tests/driver/standard_system.h"
#include "tests/support/suite_registry.h"

#include <QFile>
#include <QtTest>

using namespace driver;

namespace {

const QString kSweep = kTestData + QStringLiteral("/failure_sweep.txt");

/// Every row of the command table, with options and a machine where they matter.
QStringList sweptCommands()
{
    QFile file(kSweep);
    QStringList commands;
    if (file.open(QIODevice::ReadOnly))
        for (const QString& line : QString::fromUtf8(file.readAll()).remove(QLatin1Char('\r')).split(QLatin1Char('\n')))
            if (line.startsWith(QStringLiteral("$ ")))
                commands << line.mid(2);
    return commands;
}

ResultCode runFailing(SimulatedPlatform& platform, FailingCall& call, const QString& command, std::string& text)
{
    call.watch(platform);
    CapturedOutput output;
    const ResultCode result = DriverEngine(platform, output).run(argumentsOf(command));
    text = output.take();
    return result;
}

} // namespace

class FailureSweepTest : public QObject
{
    Q_OBJECT

private slots:
    /// Fails each call of each command in turn. What comes of it stands in failure_sweep.txt: below each command its
    /// results, with a "*" where the tree is no longer what it was and "silently" where the error is not told, and the
    /// calls whose failure ends so. Nothing may stay open, whatever fails.
    void everyCallOfEveryCommand()
    {
        const DeviceTree tree = standardTree();
        QVERIFY(!tree.devices.empty());
        const std::string before = treeText(tree);
        QString actual;
        for (const QString& command : sweptCommands()) {
            QMap<QString, QStringList> callsByResult;
            for (FailingCall call{1}; call.failing < 1000; call = {call.failing + 1}) {
                SimulatedPlatform platform(tree);
                std::string text;
                const ResultCode result = runFailing(platform, call, command, text);
                QCOMPARE(platform.openObjects(), 0);
                if (call.failed.empty())
                    break;
                const bool told = QByteArray::fromStdString(text).contains("error 0xE0005555: ");
                const bool changed = treeText(platform.tree()) != before;
                QStringList& calls = callsByResult[QString::number(result) + QLatin1String(changed ? " *" : "") +
                                                   QLatin1String(told ? "" : " silently")];
                if (!calls.contains(QString::fromStdString(call.failed)))
                    calls << QString::fromStdString(call.failed);
            }
            actual += QStringLiteral("$ %1\n").arg(command);
            for (auto each = callsByResult.cbegin(); each != callsByResult.cend(); ++each)
                actual += QStringLiteral("%1: %2\n").arg(each.key(), each->join(QLatin1Char(' ')));
        }
        for (const Command* row = commandTable(); row->name != nullptr; ++row)
            QVERIFY2(actual.contains(QLatin1Char(' ') + QString::fromWCharArray(row->name)), "a command is not swept");
        const QString difference = differenceFrom(kSweep, actual);
        QVERIFY2(difference.isEmpty(), qPrintable(difference));
    }

    /// Wherever memory runs out the command fails, says so, and leaves nothing open.
    void memoryRunsOut()
    {
        const DeviceTree tree = standardTree();
        for (const QString& command : sweptCommands()) {
            for (FailingCall call{1, true};; call = {call.failing + 1, true}) {
                SimulatedPlatform platform(tree);
                std::string text;
                const ResultCode result = runFailing(platform, call, command, text);
                QCOMPARE(platform.openObjects(), 0);
                if (call.failed.empty())
                    break;
                QCOMPARE(result, kFailure);
            }
        }
    }

    void interfaceEnumeration()
    {
        DeviceTree tree;
        SimulatedDevice device;
        device.status.flags = node_status::kStarted;
        const auto path = [](std::size_t length) { return std::wstring(length, L'p'); };
        // 8192 bytes hold 4 of a header and 4094 characters, one of them the NUL.
        device.interfaces = {{kHostControllerInterface, L"first"},
                             {Guid(), L"other class"},
                             {kHostControllerInterface, path(4093)},
                             {kHostControllerInterface, path(4094)},
                             {kHostControllerInterface, L"never reached"}};
        tree.add(device);
        SimulatedPlatform simulated(tree);
        QCOMPARE(devicePaths(simulated, kHostControllerInterface), (std::vector<std::wstring>{L"first", path(4093)}));

        const std::size_t expected[] = {0, 0, 0, 0, 1, 1, 2, 2};
        for (int failing = 1; failing < 8; ++failing) {
            FailingCall call{failing};
            call.watch(simulated);
            QCOMPARE(devicePaths(simulated, kHostControllerInterface).size(), expected[failing]);
            QCOMPARE(simulated.openObjects(), 0);
        }
    }
};

PLUGBOARD_SUITE(FailureSweepTest)
#include "failure_sweep_test.moc"
