#include "tests/emulation/disk_host.h"
#include "tests/emulation/storage_files.h"
#include "tests/support/file_size_limit_linux.h"
#include "tests/support/suite_registry.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

/// The volume that a disk is made with, as the programs of others see it, and what becomes of it on a full disk.
class Fat32VolumeLinuxTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }
    void pleasesTheChecker_data()
    {
        QTest::addColumn<int>("mebibytes");
        QTest::addColumn<int>("clusterBytes");
        QTest::newRow("smallest") << 33 << 512;
        QTest::newRow("usual clusters would be too few") << 64 << 512;
        QTest::newRow("clusters of 1 KiB") << 100 << 1024;
        QTest::newRow("as created") << 1024 << 4096;
        QTest::newRow("32 GiB") << 32768 << 16384;
        QTest::newRow("largest") << 1048576 << 32768;
    }

    void pleasesTheChecker()
    {
        QFETCH(int, mebibytes);
        QFETCH(int, clusterBytes);
        save(mebibytes);
        QCOMPARE(QFileInfo(path("image")).size(), qint64(mebibytes) << 20);
        const QString told =
            run(QStringLiteral("/usr/sbin/fsck.vfat"), {QStringLiteral("-n"), QStringLiteral("-v"), path("image")});
        QVERIFY2(!told.startsWith(QLatin1String("FAILED")), qPrintable(told));
        QVERIFY2(told.contains(QStringLiteral("%1 bytes per cluster").arg(clusterBytes)), qPrintable(told));
        QVERIFY2(!told.contains(QStringLiteral("backup")), qPrintable(told));
        // Nothing is said between the last check and the sum.
        QVERIFY2(told.contains(QStringLiteral("Checking free cluster summary.\n%1: ").arg(path("image"))),
                 qPrintable(told));
    }

    void holdsFiles()
    {
        save(40);
        numberedFile(path("content"), 5000, 7);
        const QStringList image{QStringLiteral("-i"), path("image")};
        const QString label =
            run(QStringLiteral("mlabel"), QStringList(image) << QStringLiteral("-s") << QStringLiteral("::"));
        QVERIFY2(label.contains(QStringLiteral("PLUGBOARD")), qPrintable(label));
        QVERIFY(run(QStringLiteral("mdir"), QStringList(image) << QStringLiteral("::"))
                    .contains(QStringLiteral("1234-ABCD")));
        QCOMPARE(run(QStringLiteral("mcopy"), QStringList(image) << path("content") << QStringLiteral("::FILE.BIN")),
                 QString());
        QCOMPARE(run(QStringLiteral("mcopy"), QStringList(image) << QStringLiteral("::FILE.BIN") << path("back")),
                 QString());
        QCOMPARE(contentOf(path("back")), contentOf(path("content")));
        const QString told = run(QStringLiteral("/usr/sbin/fsck.vfat"), {QStringLiteral("-n"), path("image")});
        QVERIFY2(told.contains(QStringLiteral("2 files, 5002/")), qPrintable(told));
    }

    void refusesSizes_data()
    {
        QTest::addColumn<int>("mebibytes");
        for (const int size : {-1, 0, 1, 32, 1048577})
            QTest::newRow(qPrintable(QString::number(size))) << size;
    }

    void refusesSizes()
    {
        QFETCH(int, mebibytes);
        const auto disk = storage::Disk::make(diskIdentity(), mebibytes);
        QCOMPARE(disk.fault(), QStringLiteral("FAT32 needs a disk of 33 to 1048576 MiB, not %1.").arg(mebibytes));
    }

    void takesLittleRoom()
    {
        save(1024);
        struct stat status = {};
        QCOMPARE(::stat(qPrintable(path("image")), &status), 0);
        QVERIFY2(status.st_blocks * 512 < (1 << 20), "holes were written");
    }

    void leavesNothingBehind()
    {
        qputenv("TMPDIR", m_folder->path().toLocal8Bit());
        const auto disk = storage::Disk::make(diskIdentity(), 64);
        qunsetenv("TMPDIR");
        QVERIFY(disk);
        QVERIFY(QDir(m_folder->path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }

    void tellsTheHostOfAFullDisk()
    {
        numberedFile(path("disk"), 64, 0);
        const auto medium = storage::Medium::fromFile(path("disk"));
        storage::Disk disk(diskIdentity(), medium.value());
        DiskHost host(disk);
        host.settle();
        {
            const tests::FileSizeLimit limit(32 * 512);
            QCOMPARE(host.run("2a 00 0000001e 00 0004 00", 2048, DiskHost::Out, QByteArray(2048, 'x'), 512),
                     QByteArray("failed 1024"));
            QCOMPARE(host.sense(), QByteArray("03 0c00"));
        }
        QCOMPARE(contentOf(path("disk")), numbered(64).replace(30 * 512, 1024, QByteArray(1024, 'x')));
        QCOMPARE(host.run("2a 00 00000020 00 0001 00", 512, DiskHost::Out, QByteArray(512, 'y')),
                 QByteArray("passed 0"));
    }

    void savesNothingOnAFullDisk()
    {
        numberedFile(path("target"), 1, 0);
        storage::Disk disk(diskIdentity(), numberedMedium(path("disk"), 64));
        QString answer;
        const tests::FileSizeLimit limit(32 * 512);
        disk.carryOut(QStringLiteral("save ") + path("target"), [&](const QString& given) { answer = given; });
        QTRY_VERIFY(!answer.isEmpty());
        QVERIFY2(answer.startsWith(QLatin1String("ERROR: ") + path("target")), qPrintable(answer));
        QCOMPARE(contentOf(path("target")), numbered(1));
        QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files).size(), 2);
    }

private:
    QString path(const char* name) const { return m_folder->filePath(QLatin1String(name)); }
    /// A disk of that many MiB, saved to "image".
    void save(int mebibytes);
    /// What a program said; a failure is named.
    QString run(const QString& program, const QStringList& arguments);

    std::unique_ptr<QTemporaryDir> m_folder;
};

void Fat32VolumeLinuxTest::save(int mebibytes)
{
    const auto medium = storage::Medium::makeFat32(
        mebibytes, {"PLUGBOARD", 0x1234ABCD, QDateTime(QDate(2026, 11, 23), QTime(10, 20, 30))});
    QVERIFY2(medium, qPrintable(medium.fault()));
    storage::Disk disk(diskIdentity(), medium.value());
    QString answer;
    disk.carryOut(QStringLiteral("save ") + path("image"), [&](const QString& given) { answer = given; });
    QTRY_COMPARE(answer, QStringLiteral("OK: saved ") + path("image"));
}

QString Fat32VolumeLinuxTest::run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit)
        return QStringLiteral("FAILED: %1: %2").arg(program, process.errorString());
    const QString output = QString::fromLocal8Bit(process.readAll());
    return process.exitCode() == 0 ? output : QStringLiteral("FAILED: %1: %2").arg(program, output);
}

PLUGBOARD_SUITE(Fat32VolumeLinuxTest)
#include "fat32_volume_linux_test.moc"
