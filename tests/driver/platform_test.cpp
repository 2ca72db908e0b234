#include "driver/bus_driver_setup.h"
#include "driver/command_table.h"
#include "driver/device_interfaces.h"
#include "driver/engine.h"
#include "driver/messages/message_text.h"
#include "driver/platform/device_tree_file.h"
#include "driver/platform/simulated_platform.h"
#include "driver/platform/system_platform.h"
#include "driver/platform/tree_lock.h"
#include "tests/driver/captured_output.h"
#include "tests/driver/failing_call.h"
#include "tests/driver/standard_system.h"
#include "tests/support/suite_registry.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

using namespace driver;

namespace {

const QString kSample = QStringLiteral(PLUGBOARD_SAMPLE_DRIVER);

ResultCode run(DevicePlatform& platform, std::vector<std::wstring> arguments, std::string* text = nullptr)
{
    CapturedOutput output;
    arguments.insert(arguments.begin(), L"program");
    const ResultCode result = DriverEngine(platform, output).run(arguments);
    if (text != nullptr)
        *text = output.take();
    return result;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

DeviceTree treeWithBus()
{
    DeviceTree tree = DeviceTree::fresh();
    SimulatedDevice bus;
    bus.id = L"ROOT\\USB\\0000";
    bus.hardwareIds = {L"ROOT\\VUBUS"};
    bus.status.flags = node_status::kRootEnumerated | node_status::kStarted;
    tree.add(bus);
    return tree;
}

} // namespace

class PlatformTest : public QObject
{
    Q_OBJECT

private slots:
    void treesSurviveTheirFile()
    {
        const DeviceTree tree = standardTree();
        QVERIFY(!tree.devices.empty());
        const auto again = parseTree(treeText(tree));
        QVERIFY(again);
        QCOMPARE(treeText(*again), treeText(tree));
        QCOMPARE(again->devices.size(), tree.devices.size());
    }

    void refusesWhatIsNoTree_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const char* text :
             {"", "{", "[]", "null", "{\"devices\":{}}", "{\"devices\":[1]}", "{\"devices\":[{\"id\":1}]}",
              "{\"devices\":[{\"class\":\"x\"}]}", "{\"services\":[1]}", "{\"classes\":[{\"guid\":null}]}",
              "{\"devices\":[{\"status\":\"x\"}]}", "{\"devices\":[{\"status\":-1}]}",
              "{\"devices\":[{\"problem\":1e99}]}", "{\"devices\":[{\"problem\":4294967296}]}",
              "{\"packages\":[{\"text\":1}]}"})
            QTest::newRow(text) << QByteArray(text);
    }

    /// A file that is no tree is never written over; every command that needs it fails and says why.
    void refusesWhatIsNoTree()
    {
        QFETCH(QByteArray, text);
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("device_tree.json"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
        file.close();
        SimulatedPlatform platform(path.toStdU16String());
        for (const Command* command = commandTable(); command->name != nullptr; ++command) {
            std::string output;
            const bool help = !accessOf(*command);
            QCOMPARE(run(platform, {command->name, L"*"}, &output), help ? kSuccess : kFailure);
            QCOMPARE(output.starts_with("! program: error 0x00000570: "), !help);
        }
        QVERIFY(devicePaths(platform, kHostControllerInterface).empty());
        QCOMPARE(contentOf(path), text);
        QVERIFY(file.resize(64 * 1024 * 1024 + 1));
        std::string output;
        QCOMPARE(run(platform, {L"find", L"*"}, &output), kFailure);
        QVERIFY(output.starts_with("! program: error 0x000000DF: "));
    }

    /// However many devices a command changes, the file is written at its end, and nobody else changes it before.
    void oneWriteForEachCommand()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("device_tree.json"));
        DeviceTree tree = treeWithBus();
        tree.add(tree.devices[0]);
        QVERIFY(saveTree(tree, path.toStdU16String()));
        const QByteArray before = contentOf(path);
        SimulatedPlatform platform(path.toStdU16String());
        bool early = false;
        bool locked = true;
        platform.setHook([&](const char*, const std::wstring&) -> ErrorCode {
            early = early || contentOf(path) != before;
            locked = locked && TreeLock((path + QStringLiteral(".lock")).toStdU16String(), {}).timedOut();
            return 0;
        });
        QCOMPARE(run(platform, {L"disable", L"*"}), kSuccess);
        QVERIFY(!early && locked);
        QVERIFY(contentOf(path) != before);
        locked = true;
        QCOMPARE(run(platform, {L"find", L"*"}), kSuccess);
        QVERIFY(!locked); // a listing that waits for its reader holds up nobody
    }

    /// A folder that cannot be written to: the command fails, and neither the tree nor the file has changed.
    void failedWritesChangeNothing()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("device_tree.json"));
        QVERIFY(saveTree(treeWithBus(), path.toStdU16String()));
        const QByteArray before = contentOf(path);
        QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("device_tree.json.new"))); // where the new file would go
        SimulatedPlatform platform(path.toStdU16String());
        std::string text;
        QCOMPARE(run(platform, {L"sethwid", L"@ROOT\\*", L":=", L"+X"}, &text), kFailure);
        QVERIFY(text.find("! program: error 0x0000001D: ") != std::string::npos);
        QCOMPARE(platform.tree().devices[0].hardwareIds, TextList{L"ROOT\\VUBUS"});
        QCOMPARE(contentOf(path), before);
        QVERIFY(QDir(folder.path()).rmdir(QStringLiteral("device_tree.json.new")));
        QCOMPARE(run(platform, {L"sethwid", L"@ROOT\\*", L":=", L"+X"}), kSuccess);
        QVERIFY(contentOf(path) != before);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files),
                 (QStringList{QStringLiteral("device_tree.json"), QStringLiteral("device_tree.json.lock")}));
    }

    void longTextsFailAndAreNeverCut()
    {
        DeviceTree tree = treeWithBus();
        tree.devices[0].id = std::wstring(199, L'i');
        SimulatedDevice tooLong = tree.devices[0];
        tooLong.id = std::wstring(200, L'i');
        tree.add(tooLong);
        tree.classes = {{Guid{1, 0, 0, {}}, std::wstring(31, L'n'), std::wstring(255, L'd'), {}, {}},
                        {Guid{2, 0, 0, {}}, std::wstring(32, L'n'), std::wstring(256, L'd'), {}, {}}};
        SimulatedPlatform platform(tree);
        std::string text;
        QCOMPARE(run(platform, {L"find", L"*"}, &text), kSuccess);
        QCOMPARE(text, std::string(199, 'i') + ": ?\n! program: ?: error CR 0x1A: The text is too long.\n?" +
                           std::string(59, ' ') + ": ?\nMatching devices: 2.\n");
        QCOMPARE(run(platform, {L"find", L"@" + std::wstring(10, L'i') + L"*"}, &text), kSuccess);
        QVERIFY(QByteArray::fromStdString(text).endsWith("Matching devices: 1.\n"));
        QCOMPARE(run(platform, {L"classes"}, &text), kSuccess);
        QCOMPARE(text,
                 "Setup classes (2):\n" + std::string(31, 'n') + ": " + std::string(255, 'd') + "\n" +
                     "! program: {00000002-0000-0000-0000-000000000000}: error 0x0000007A: The text is too long.\n"
                     "! program: ?: error 0x0000007A: The text is too long.\n?" +
                     std::string(19, ' ') + ": ?\n");
    }

    /// 256 characters of a hardware id fit, the path limit counts 259.
    void installLimits()
    {
        QTemporaryDir folder;
        const std::wstring inf = (kSample + QStringLiteral("/vusbbus.inf")).toStdWString();
        SimulatedPlatform platform(DeviceTree::fresh());
        QCOMPARE(run(platform, {L"install", inf, std::wstring(257, L'x')}), kFailure);
        QVERIFY(platform.tree().devices.empty());
        QCOMPARE(run(platform, {L"install", inf, std::wstring(256, L'x')}), kFailure); // the INF does not know it
        QCOMPARE(platform.tree().devices.size(), std::size_t(1));
        QCOMPARE(platform.tree().devices[0].hardwareIds, TextList{std::wstring(256, L'x')});

        const int room = 259 - folder.path().size() - 1;
        QVERIFY(room > 4);
        for (const int length : {room, room + 1}) {
            const QString path =
                folder.path() + QLatin1Char('/') + QString(length - 4, QLatin1Char('f')) + QStringLiteral(".inf");
            QVERIFY(QFile::copy(kSample + QStringLiteral("/vusbbus.inf"), path));
            std::string text;
            QCOMPARE(run(platform, {L"dp_add", path.toStdWString()}, &text), length == room ? kSuccess : kFailure);
            QCOMPARE(text.find("not the name of an INF") != std::string::npos, length != room);
            const std::size_t devices = platform.tree().devices.size();
            QCOMPARE(run(platform, {L"install", path.toStdWString(), L"root\\VUBUS"}),
                     length == room ? kSuccess : kFailure);
            QCOMPARE(platform.tree().devices.size(), devices + (length == room ? 1 : 0));
        }
    }

    /// The lists that a system says are longer than last time are asked for until they fit.
    void growingClassLists()
    {
        DeviceTree tree;
        for (std::uint32_t i = 0; i < 300; ++i)
            tree.classes.push_back({Guid{i, 0, 0, {}}, L"same", L"d", {}, {}});
        SimulatedPlatform platform(tree);
        std::string text;
        QCOMPARE(run(platform, {L"classes"}, &text), kSuccess);
        QVERIFY(QByteArray::fromStdString(text).startsWith("Setup classes (300):\n"));
        QCOMPARE(run(platform, {L"listclass", L"same"}, &text), kSuccess);
        QCOMPARE(QByteArray::fromStdString(text).count('\n'), 300);
    }

    void restartsAreAskedForOnce_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<QByteArray>("failing");
        QTest::addColumn<int>("restarts");
        QTest::newRow("not without the option") << QByteArray("restart @ROOT\\*") << QByteArray() << 0;
        QTest::newRow("with the option") << QByteArray("-r restart @ROOT\\*") << QByteArray() << 1;
        QTest::newRow("without a token") << QByteArray("-r restart @ROOT\\*") << QByteArray("openProcessToken") << 1;
        QTest::newRow("not after a success without need") << QByteArray("-r find *") << QByteArray() << 0;
        QTest::newRow("not with anything extra") << QByteArray("reboot /?") << QByteArray() << 0;
        QTest::newRow("not for another machine") << QByteArray("reboot -m:\\\\LAB") << QByteArray() << 0;
        QTest::newRow("the command itself") << QByteArray("reboot") << QByteArray() << 1;
        QTest::newRow("the command without a token") << QByteArray("reboot") << QByteArray("openProcessToken") << 1;
        QTest::newRow("the command without the privilege")
            << QByteArray("reboot") << QByteArray("lookupPrivilege") << 1;
    }

    void restartsAreAskedForOnce()
    {
        QFETCH(QByteArray, command);
        QFETCH(QByteArray, failing);
        QFETCH(int, restarts);
        DeviceTree tree = treeWithBus();
        tree.devices[0].rebootAfterChange = true;
        for (FailingCall call{failing.isEmpty() ? 0 : 1};; call = {call.failing + 1}) {
            SimulatedPlatform platform(tree);
            call.watch(platform);
            CapturedOutput output;
            DriverEngine(platform, output).run(argumentsOf(QString::fromLatin1(command)));
            QVERIFY(failing.isEmpty() || !call.failed.empty());
            if (call.failed != failing.toStdString())
                continue;
            QCOMPARE(platform.restarts(), restarts);
            return;
        }
    }

    void busSetup()
    {
        QTemporaryDir folder;
        QVERIFY(QFile::copy(kSample + QStringLiteral("/vusbbus.inf"), folder.filePath(QStringLiteral("vusbbus.inf"))));
        const std::filesystem::path tree = simulatedTreeFile(folder.path().toStdU16String());
        int sleeps = 0;
        CapturedOutput output;
        {
            SimulatedPlatform platform(tree);
            BusDriverSetup setup(platform, folder.path().toStdWString(), output,
                                 [&](std::chrono::milliseconds time) { sleeps += time.count() == 1000 ? 1 : 100; });
            QCOMPARE(QString::fromStdWString(setup.infPath()), folder.path() + QStringLiteral("\\vusbbus.inf"));
            QVERIFY(!setup.installed());
            QVERIFY(!setup.waitUntilInstalled());
            QCOMPARE(sleeps, 3); // after the third failed check too
            setup.install();
            QVERIFY(setup.waitUntilInstalled());
            QCOMPARE(sleeps, 3);
        }
        SimulatedPlatform later(tree);
        QCOMPARE(devicePaths(later, kHostControllerInterface),
                 TextList{L"\\\\?\\root#usb#0000#{4d10a44f-446c-4481-b354-4f04e6c69812}"});
        QCOMPARE(later.tree().packages.size(), std::size_t(1));
        QCOMPARE(later.tree().devices.size(), std::size_t(1));
        QCOMPARE(run(later, {L"disable", L"root\\vubus"}), kSuccess);
        QVERIFY(!BusDriverSetup(later, L"").installed()); // a stopped device exposes nothing
    }

    void busSetupWithoutItsPackage()
    {
        QTemporaryDir folder;
        SimulatedPlatform platform(DeviceTree::fresh());
        CapturedOutput output;
        int sleeps = 0;
        BusDriverSetup setup(platform, folder.path().toStdWString(), output, [&](std::chrono::milliseconds) {
            if (++sleeps == 1) // the device shows up after the first check
                run(platform, {L"install", (kSample + QStringLiteral("/vusbbus.inf")).toStdWString(), L"root\\VUBUS"});
        });
        setup.install();
        QVERIFY(!setup.installed());
        const std::string text = output.take();
        const std::size_t added = text.find("usbredir: the command \"dp_add\" failed.");
        const std::size_t created = text.find("usbredir: the command \"install\" failed.");
        QVERIFY(added != std::string::npos && created != std::string::npos && added < created);
        QVERIFY(setup.waitUntilInstalled());
        QCOMPARE(sleeps, 1);
    }
};

PLUGBOARD_SUITE(PlatformTest)
#include "platform_test.moc"
