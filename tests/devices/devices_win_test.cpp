// What can be seen on Windows only: sharing and access of record files, the process table, separators and odd folders.
#include "devices/device_launcher.h"
#include "devices/device_record_manager.h"
#include "tests/devices/device_children.h"
#include "tests/support/suite_registry.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <type_traits>

#include <windows.h>

#include <aclapi.h>

namespace {

const QString kFileName = QStringLiteral("device_a_77.json");

struct CloseFileHandle
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using FileHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, CloseFileHandle>;

const wchar_t* wide(const QString& text)
{
    return reinterpret_cast<const wchar_t*>(text.utf16());
}

DeviceRecord record(int type)
{
    DeviceRecord made;
    made.deviceType = type;
    made.deviceName = QStringLiteral("a");
    made.processId = 77;
    made.isRunning = true;
    return made;
}

/// For which no process runs.
DeviceRecordManager managerOf(const QString& folder)
{
    return DeviceRecordManager(folder, [] { return ProcessSnapshot(std::vector<std::uint32_t>{}); });
}

void expectWarning(const char* what, const QString& folder)
{
    QTest::ignoreMessage(QtWarningMsg,
                         qPrintable(QLatin1String(what) + QLatin1Char(' ') + folder + QLatin1Char('/') + kFileName));
}

/// Whatever makes, changes or removes a file, in its folder and at the file itself.
constexpr DWORD kWriting = FILE_WRITE_DATA | FILE_APPEND_DATA | FILE_DELETE_CHILD | DELETE;

/// Gives everyone all rights to `path` but the denied ones, and nothing that the folder above would add. A denied right
/// is refused whoever else grants it. The owner may always undo it.
bool setRights(const QString& path, DWORD denied)
{
    std::byte everyone[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof everyone;
    if (!CreateWellKnownSid(WinWorldSid, nullptr, everyone, &size))
        return false;
    EXPLICIT_ACCESSW entries[2]{};
    entries[0].grfAccessPermissions = FILE_ALL_ACCESS & ~denied;
    entries[0].grfAccessMode = GRANT_ACCESS;
    entries[1].grfAccessPermissions = denied;
    entries[1].grfAccessMode = DENY_ACCESS;
    for (EXPLICIT_ACCESSW& entry : entries)
        BuildTrusteeWithSidW(&entry.Trustee, everyone);
    ACL* list = nullptr;
    if (SetEntriesInAclW(denied ? 2 : 1, entries, nullptr, &list) != ERROR_SUCCESS)
        return false;
    QString native = QDir::toNativeSeparators(path);
    const DWORD error = SetNamedSecurityInfoW(const_cast<wchar_t*>(wide(native)), SE_FILE_OBJECT,
                                              DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr,
                                              nullptr, list, nullptr);
    LocalFree(list);
    return error == ERROR_SUCCESS;
}

} // namespace

class DevicesWinTest : public QObject
{
    Q_OBJECT

private slots:
    void recordHeldOpenByItsDevice_data()
    {
        QTest::addColumn<int>("sharing");
        QTest::addColumn<bool>("rewritten");
        QTest::addColumn<bool>("deleted");
        QTest::newRow("nothing shared: neither rewritten nor deleted") << 0 << false << false;
        QTest::newRow("reading shared: neither rewritten nor deleted") << FILE_SHARE_READ << false << false;
        QTest::newRow("as the C library opens: rewritten in place, not deleted")
            << (FILE_SHARE_READ | FILE_SHARE_WRITE) << true << false;
        QTest::newRow("everything shared: rewritten and deleted")
            << (FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE) << true << true;
    }

    void recordHeldOpenByItsDevice()
    {
        QFETCH(int, sharing);
        QFETCH(bool, rewritten);
        QFETCH(bool, deleted);
        const QTemporaryDir folder;
        const DeviceRecordManager manager = managerOf(folder.path());
        manager.saveRecord(record(4));
        const QString path = folder.filePath(kFileName);
        FileHandle held(CreateFileW(wide(path), GENERIC_READ, DWORD(sharing), nullptr, OPEN_EXISTING, 0, nullptr));
        QVERIFY(held.get() != INVALID_HANDLE_VALUE);

        if (!rewritten)
            expectWarning("Failed to save device record to:", folder.path());
        manager.saveRecord(record(8));
        held.reset();
        QCOMPARE(manager.loadRecord(kFileName).deviceType, rewritten ? 8 : 4);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList{kFileName});

        held.reset(CreateFileW(wide(path), GENERIC_READ, DWORD(sharing), nullptr, OPEN_EXISTING, 0, nullptr));
        QVERIFY(held.get() != INVALID_HANDLE_VALUE);
        if (!(sharing & FILE_SHARE_READ)) {
            // What cannot be read tells no process id, so it cannot be stale.
            expectWarning("Failed to load device record from:", folder.path());
        } else if (!deleted) {
            expectWarning("Failed to delete device record:", folder.path());
        }
        manager.removeStaleRecords();
        held.reset();
        QCOMPARE(QFile::exists(path), !deleted);
    }

    void folderThatMayOnlyBeRead()
    {
        const QTemporaryDir folder;
        const DeviceRecordManager manager = managerOf(folder.path());
        manager.saveRecord(record(4));
        const QString path = folder.filePath(kFileName);
        QVERIFY(setRights(path, kWriting));
        QVERIFY(setRights(folder.path(), kWriting));

        expectWarning("Failed to save device record to:", folder.path());
        manager.saveRecord(record(8));
        QCOMPARE(manager.loadRecord(kFileName).deviceType, 4);
        expectWarning("Failed to delete device record:", folder.path());
        manager.removeStaleRecords();
        QVERIFY(QFile::exists(path));

        QVERIFY(setRights(folder.path(), 0));
        QVERIFY(setRights(path, 0));
        manager.removeStaleRecords();
        QVERIFY(!QFile::exists(path));
    }

    void folderPathWithAnySeparator_data()
    {
        QTest::addColumn<QString>("below");
        for (const char* below : {"/in/side", "\\in\\side", "/in\\side", "\\in/side/", "\\in\\side\\"})
            QTest::newRow(below) << QString::fromLatin1(below);
    }

    void folderPathWithAnySeparator()
    {
        QFETCH(QString, below);
        const QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkpath(QStringLiteral("in/side")));
        const DeviceRecordManager manager = managerOf(folder.path() + below);
        manager.saveRecord(record(4));
        QCOMPARE(manager.listRecords(), QStringList{kFileName});
        QCOMPARE(manager.loadRecord(kFileName).deviceType, 4);
        manager.removeStaleRecords();
        QCOMPARE(manager.listRecords(), QStringList());
    }

    void programFolderWithSpacesAndOtherLetters()
    {
        const QTemporaryDir folder;
        const QString programs = folder.path() + QStringLiteral("/Plug board (\u00e4\u6444)/x & y");
        QVERIFY(QDir().mkpath(programs));
        QVERIFY(QFile::copy(QStringLiteral(TEST_CHILD_FOLDER "/usb-daemon.exe"),
                            programs + QStringLiteral("/usb-daemon.exe")));
        DeviceChildren children;
        const qint64 id = DeviceLauncher(programs).launch(QStringLiteral("x")).value_or(0);
        children.add(id);
        QVERIFY(children.waitForReport(id, "message"));

        const DeviceRecordManager manager = managerOf(programs);
        manager.saveRecord(record(4));
        QCOMPARE(manager.loadRecord(manager.listRecords().value(0)).deviceType, 4);
    }

    void processTableFollowsTheKillTool()
    {
        const ProcessSnapshot own = ProcessSnapshot::take();
        QVERIFY(own.valid());
        QVERIFY(own.contains(QCoreApplication::applicationPid()));
        QVERIFY2(own.contains(QCoreApplication::applicationPid() + (1LL << 32)), "ids are compared as 32-bit values");

        QProcess child;
        child.start(QStringLiteral("cmd"), {});
        QVERIFY(child.waitForStarted());
        const qint64 id = child.processId();
        const FileHandle handle(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, DWORD(id)));
        QVERIFY(ProcessSnapshot::take().contains(id));
        const KillCommand kill = killCommand(id);
        QVERIFY2(QFileInfo(kill.program).isAbsolute(),
                 "a file of that name beside the program would be started instead");
        QCOMPARE(QProcess::execute(kill.program, kill.arguments), 0);
        QVERIFY(child.waitForFinished());
        QVERIFY2(!ProcessSnapshot::take().contains(id),
                 "an ended process of which someone holds a handle does not run");
    }
};

PLUGBOARD_SUITE(DevicesWinTest)
#include "devices_win_test.moc"
