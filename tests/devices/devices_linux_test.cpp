// What can be seen on Linux only: descriptors, zombies, full disks, and another implementation of the decryption.
#include "devices/device_launcher.h"
#include "devices/device_record_manager.h"
#include "devices/parameter_encryptor.h"
#include "tests/devices/device_children.h"
#include "tests/support/file_size_limit_linux.h"
#include "tests/support/suite_registry.h"
#include "tests/support/test_key.h"

#include <QProcess>
#include <QtTest>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int openDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd"))
        .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
        .size();
}

} // namespace

class DevicesLinuxTest : public QObject
{
    Q_OBJECT

private slots:
    void opensslDecryptsOneBlock_data()
    {
        QTest::addColumn<int>("size");
        QTest::newRow("nothing") << 0;
        QTest::newRow("the largest block") << 245;
    }

    void opensslDecryptsOneBlock()
    {
        QFETCH(int, size);
        const TestKey pair(2048);
        const QTemporaryDir folder;
        QFile keyFile(folder.filePath(QStringLiteral("private.pem")));
        QVERIFY(keyFile.open(QIODevice::WriteOnly));
        keyFile.write(pair.privatePem);
        keyFile.close();

        ParameterEncryptor encryptor;
        QVERIFY(encryptor.loadPublicKey(pair.publicPem));
        const QByteArray plaintext(size, 'p');
        QProcess openssl;
        openssl.start(QStringLiteral("openssl"),
                      {QStringLiteral("pkeyutl"), QStringLiteral("-decrypt"), QStringLiteral("-inkey"),
                       keyFile.fileName(), QStringLiteral("-pkeyopt"), QStringLiteral("rsa_padding_mode:pkcs1")});
        openssl.write(encryptor.encrypt(plaintext));
        openssl.closeWriteChannel();
        QVERIFY(openssl.waitForFinished());
        QCOMPARE(openssl.exitCode(), 0);
        QCOMPARE(openssl.readAllStandardError(), QByteArray());
        QCOMPARE(openssl.readAllStandardOutput(), plaintext);
    }

    void childInheritsNothing()
    {
        const int leaky = open("/dev/null", O_RDONLY); // as a library without close-on-exec would
        DeviceChildren children("descriptors");
        const qint64 id = DeviceLauncher(QStringLiteral(TEST_CHILD_FOLDER)).launch(QString()).value_or(0);
        children.add(id);
        QVERIFY(children.waitForReport(id, "descriptors"));
        close(leaky);
        QCOMPARE(children.report(id, "descriptors"), QByteArray("0 1 2 "));
        QVERIFY2(getsid(static_cast<pid_t>(id)) == id,
                 "an interrupt on the program's terminal must not reach a device");
    }

    void thousandRoundsKeepDescriptorsFlat()
    {
        const DeviceChildren children("exit");
        const DeviceLauncher launcher(QStringLiteral(TEST_CHILD_FOLDER));
        const qint64 first = launcher.launchBare();
        QTRY_VERIFY_WITH_TIMEOUT(!ProcessSnapshot::take().contains(first), 20000);
        QCoreApplication::processEvents(); // what was open for it is closed
        const int before = openDescriptors();
        for (int round = 0; round < 1000; ++round) {
            QVERIFY(launcher.launch(QStringLiteral("x")));
            QCoreApplication::processEvents();
        }
        QTRY_VERIFY_WITH_TIMEOUT(openDescriptors() <= before, 20000);
    }

    void zombieDoesNotRun()
    {
        const pid_t child = fork();
        if (child == 0)
            _exit(0);
        siginfo_t ended{};
        int waited = 0;
        do // the end of another child may interrupt it
            waited = waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
        while (waited < 0 && errno == EINTR);
        QCOMPARE(waited, 0);
        QCOMPARE(kill(child, 0), 0); // its id is still taken
        QVERIFY(!ProcessSnapshot::take().contains(child));
        QCOMPARE(waitpid(child, nullptr, 0), child);
    }

    void fullDiskLeavesTheOldRecord()
    {
        const QTemporaryDir folder;
        const DeviceRecordManager manager(folder.path(), &ProcessSnapshot::take);
        DeviceRecord record;
        record.deviceName = QStringLiteral("a");
        manager.saveRecord(record);
        const QString path = folder.filePath(deviceRecordFileName(record));
        const DeviceRecord old = manager.loadRecord(deviceRecordFileName(record));
        record.deviceType = 5;
        for (const rlim_t bytes : {0, 100}) {
            const tests::FileSizeLimit limit(bytes);
            QTest::ignoreMessage(QtWarningMsg, qPrintable(QStringLiteral("Failed to save device record to: ") + path));
            manager.saveRecord(record);
        }
        QCOMPARE(serializeDeviceRecord(manager.loadRecord(deviceRecordFileName(record))), serializeDeviceRecord(old));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void pipeIsNoRecord()
    {
        const QTemporaryDir folder;
        const QString pipe = folder.filePath(QStringLiteral("pipe"));
        const QString link = folder.filePath(QStringLiteral("device_link_1.json"));
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        QVERIFY(QFile::link(pipe, link));
        QTest::ignoreMessage(QtWarningMsg, qPrintable(QStringLiteral("Failed to load device record from: ") + link));
        // Reading the pipe would block here for ever.
        QVERIFY(DeviceRecordManager(folder.path(), &ProcessSnapshot::take).restoreDevices().isEmpty());
    }

    void socketsOfEndedProcessesGoWithTheirRecords()
    {
        const std::uint32_t ended = 4'000'000'000U + std::uint32_t(getpid()) % 1'000'000U;
        const QTemporaryDir folder;
        std::vector<QByteArray> sockets;
        for (const std::uint32_t process : {ended, ended + 1}) {
            DeviceRecord record;
            record.deviceName = QStringLiteral("Key");
            record.processId = process;
            DeviceRecordManager(folder.path(), [] { return ProcessSnapshot::failed(); }).saveRecord(record);
            const QString name = QStringLiteral("Fido2Server_%1").arg(process);
            sockets.push_back(QFile::encodeName(QDir(QDir::tempPath()).filePath(name)));
            QCOMPARE(mknod(sockets.back().constData(), S_IFSOCK | 0600, 0), 0);
        }
        DeviceRecordManager(folder.path(), [&] {
            return ProcessSnapshot(std::vector<std::uint32_t>{ended + 1});
        }).removeStaleRecords();
        struct stat found = {};
        QVERIFY(lstat(sockets.front().constData(), &found) != 0);
        QCOMPARE(unlink(sockets.back().constData()), 0);
    }
};

PLUGBOARD_SUITE(DevicesLinuxTest)
#include "devices_linux_test.moc"
