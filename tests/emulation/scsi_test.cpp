#include "tests/emulation/disk_host.h"
#include "tests/emulation/storage_files.h"
#include "tests/support/suite_registry.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

/// The SCSI disk behind the transport, and the commands of its user. The medium has 64 blocks, each filled with its
/// number.
class ScsiTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_disk = std::make_unique<storage::Disk>(diskIdentity(), numberedMedium(path("own"), 64));
        m_host = std::make_unique<DiskHost>(*m_disk);
        m_host->settle();
    }

    void cleanup() { m_host.reset(), m_disk.reset(), m_folder.reset(); }
    void answers_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<int>("length");
        QTest::addColumn<QByteArray>("expected");
        const auto addRow = [](const char* name, const char* command, int length, const char* expected) {
            QTest::newRow(name) << QByteArray(command) << length << QByteArray(expected);
        };
        addRow("inquiry", "12 00 00 00 24 00", 36,
               "008006021f000000506c7567626f61724469736b202020202020202020202020"
               "30313030 passed 0");
        addRow("inquiry of five bytes", "12 00 00 00 05 00", 5, "008006021f passed 0");
        addRow("vital pages", "12 01 00 00 ff 00", 255, "00000005008083b0b1 passed 246");
        addRow("serial number", "12 01 80 00 ff 00", 255, "0080000c303132333435363738394142 passed 239");
        addRow("identification", "12 01 83 00 08 00", 8, "0083002802010024 passed 0");
        addRow("block limits", "12 01 b0 00 04 00", 4, "00b0003c passed 0");
        addRow("does not turn", "12 01 b1 00 06 00", 6, "00b1003c0001 passed 0");
        addRow("capacity", "25 00 00000000 00 0000 00", 8, "0000003f00000200 passed 0");
        addRow("capacity of 16 bytes", "9e 10 0000000000000000 0000000c 00 00", 12,
               "000000000000003f00000200 passed 0");
        addRow("format capacities", "23 00 0000000000 00fc 00", 252, "000000080000004002000200 passed 240");
        addRow("units", "a0 00 00 000000 00000010 00 00", 16, "00000008000000000000000000000000 passed 0");
        addRow("modes", "1a 00 3f 00 04 00", 4, "2f001000 passed 0");
        addRow("caching page", "1a 00 08 00 ff 00", 255,
               "1700100008120400000000000000000000000000"
               "00000000 passed 231");
        addRow("caching page, what can change", "1a 00 48 00 07 00", 7, "17001000081204 passed 0");
        addRow("modes, ten bytes", "5a 00 3f 00 00 00 00 0009 00", 9, "003200100000000008 passed 0");
        addRow("read of 6 bytes", "08 00 00 05 01 00", 2, "phase error 2");
        addRow("verify", "2f 00 00000000 00 0040 00", 0, "passed 0");
        addRow("synchronize", "35 00 00000000 00 0000 00", 0, "passed 0");
        addRow("synchronize, sixteen bytes", "91 00 0000000000000000 00000040 00 00", 0, "passed 0");
        addRow("stop is no end", "1b 00 00 00 01 00", 0, "passed 0");
        addRow("no blocks", "28 00 00000040 00 0000 00", 0, "passed 0");
    }

    void answers()
    {
        QFETCH(QByteArray, command);
        QFETCH(int, length);
        QFETCH(QByteArray, expected);
        const QByteArray told = m_host->run(command, std::uint32_t(length));
        QCOMPARE(told, expected.startsWith("phase") ? "stall " + expected : expected);
    }

    void refuses_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<QByteArray>("sense");
        const auto addRow = [](const char* name, const char* command, const char* sense) {
            QTest::newRow(name) << QByteArray(command) << QByteArray(sense);
        };
        addRow("format unit", "04 00 00 00 00 00", "05 2000");
        addRow("command of another kind of device", "43 00 00 00 00 00 00 00 00 00", "05 2000");
        addRow("command cut short", "28 00 00000000 00", "05 2400");
        addRow("vital page that there is not", "12 01 b2 00 ff 00", "05 2400");
        addRow("page without its flag", "12 00 80 00 ff 00", "05 2400");
        addRow("mode page that there is not", "1a 00 05 00 ff 00", "05 2400");
        addRow("subpage", "1a 00 08 01 ff 00", "05 2400");
        addRow("saved pages", "1a 00 ff 00 ff 00", "05 3900");
        addRow("save pages", "15 11 00 00 18 00", "05 2400");
        addRow("sense as descriptors", "03 01 00 00 ff 00", "05 2400");
        addRow("service action that there is not", "9e 11 0000000000000000 00000020 00 00", "05 2400");
        addRow("last block and one behind it", "28 00 0000003f 00 0002 00", "05 2100");
        addRow("first block behind the end", "2a 00 00000040 00 0001 00", "05 2100");
        addRow("blocks that wrap around", "88 00 ffffffffffffffff 00000002 00 00", "05 2100");
        addRow("verify behind the end", "2f 00 00000001 00 0040 00", "05 2100");
        addRow("verify by comparing", "2f 02 00000001 00 0001 00", "05 2400");
        addRow("protected read", "28 20 00000001 00 0001 00", "05 2400");
        addRow("synchronize behind the end", "35 00 00000040 00 0001 00", "05 2100");
    }

    void refuses()
    {
        QFETCH(QByteArray, command);
        QFETCH(QByteArray, sense);
        QCOMPARE(m_host->run(command), QByteArray("failed 0"));
        QCOMPARE(m_host->sense(), sense);
        QCOMPARE(m_host->sense(), QByteArray("00 0000"));
    }

    void writesWithEveryForm_data()
    {
        QTest::addColumn<QByteArray>("write");
        QTest::addColumn<QByteArray>("read");
        const auto addRow = [](const char* name, const char* write, const char* read) {
            QTest::newRow(name) << QByteArray(write) << QByteArray(read);
        };
        addRow("6 bytes", "0a 00 00 3d 02 00", "08 00 00 3d 02 00");
        addRow("10 bytes", "2a 00 0000003d 00 0002 00", "28 00 0000003d 00 0002 00");
        addRow("12 bytes", "aa 00 0000003d 00000002 00 00", "a8 00 0000003d 00000002 00 00");
        addRow("16 bytes", "8a 00 000000000000003d 00000002 00 00", "88 00 000000000000003d 00000002 00 00");
        addRow("through to the disk", "2a 08 0000003d 00 0002 00", "28 08 0000003d 00 0002 00");
    }

    void writesWithEveryForm()
    {
        QFETCH(QByteArray, write);
        QFETCH(QByteArray, read);
        const QByteArray data = QByteArray(512, 'a') + QByteArray(512, 'b');
        QCOMPARE(m_host->run(write, 1024, DiskHost::Out, data, 512), QByteArray("passed 0"));
        QCOMPARE(m_host->run(read, 1024), data.toHex() + " passed 0");
        QCOMPARE(contentOf(path("own")), numbered(64).replace(0x3d * 512, 1024, data));
        QVERIFY(m_disk->status().contains(QStringLiteral("2 blocks read, 2 written")));
    }

    void switchesTheWriteCache()
    {
        const QByteArray off = QByteArray::fromHex("00000000 0812 00") + QByteArray(17, '\0');
        QCOMPARE(m_host->run("15 10 00 00 18 00", 24, DiskHost::Out, off), QByteArray("passed 0"));
        QCOMPARE(m_host->run("1a 00 08 00 07 00", 7), QByteArray("17001000081200 passed 0"));
        QCOMPARE(m_host->run("2a 00 00000000 00 0001 00", 512, DiskHost::Out, QByteArray(512, 'x')),
                 QByteArray("passed 0"));
        const QByteArray ten = QByteArray::fromHex("0000000000000000 0812 04") + QByteArray(17, '\0');
        QCOMPARE(m_host->run("55 10 00 00 00 00 00 001c 00", 28, DiskHost::Out, ten), QByteArray("passed 0"));
        QCOMPARE(m_host->run("1a 00 08 00 07 00", 7), QByteArray("17001000081204 passed 0"));
        // Nothing of a list with a fault is taken.
        const QByteArray alsoOther = QByteArray(off).replace(20, 1, "\1");
        QCOMPARE(m_host->run("15 10 00 00 18 00", 24, DiskHost::Out, alsoOther), QByteArray("failed 0"));
        QCOMPARE(m_host->sense(), QByteArray("05 2600"));
        for (const int length : {3, 5, 23}) {
            const QByteArray select = "15 10 00 00 " + QByteArray::number(length, 16).rightJustified(2, '0') + " 00";
            QCOMPARE(m_host->run(select, std::uint32_t(length), DiskHost::Out, off.left(length)),
                     QByteArray("failed 0"));
            QCOMPARE(m_host->sense(), QByteArray("05 1a00"));
        }
        QCOMPARE(m_host->run("1a 00 08 00 07 00", 7), QByteArray("17001000081204 passed 0"));
    }

    void tellsWhatHappenedOnce()
    {
        m_host->transfers().device().reset();
        m_host->transfers().configure();
        QVERIFY(m_host->run("12 00 00 00 05 00", 5).endsWith("passed 0"));
        QCOMPARE(m_host->run("25 00 00000000 00 0000 00", 8), QByteArray("stall failed 8"));
        QCOMPARE(m_host->sense(), QByteArray("06 2900"));
        QVERIFY(m_host->run("25 00 00000000 00 0000 00", 8).endsWith("passed 0"));
        // A host that only asks for the sense is told too.
        m_host->transfers().device().reset();
        m_host->transfers().configure();
        QCOMPARE(m_host->sense(), QByteArray("06 2900"));
        QCOMPARE(m_host->run("00 00 00 00 00 00"), QByteArray("passed 0"));
    }

    void isLockedByItsHost()
    {
        QCOMPARE(m_host->run("1e 00 00 00 01 00"), QByteArray("passed 0"));
        QCOMPARE(m_host->run("1b 00 00 00 02 00"), QByteArray("failed 0"));
        QCOMPARE(m_host->sense(), QByteArray("05 5302"));
        QVERIFY(answerOf(QStringLiteral("eject")).startsWith(QLatin1String("ERROR: The host uses the disk")));
        QVERIFY(m_disk->status().contains(QStringLiteral("in use by the host")));
        QVERIFY(answerOf(QStringLiteral("eject force")).startsWith(QLatin1String("OK: ejected")));
        QCOMPARE(m_host->run("00 00 00 00 00 00"), QByteArray("failed 0"));
        QCOMPARE(m_host->sense(), QByteArray("02 3a00"));
    }

    void isEjectedByItsHost()
    {
        QCOMPARE(m_host->run("1b 00 00 00 02 00"), QByteArray("passed 0"));
        QCOMPARE(m_host->run("28 00 00000000 00 0001 00", 512), QByteArray("stall failed 512"));
        QCOMPARE(m_host->sense(), QByteArray("02 3a00"));
        QCOMPARE(m_host->run("23 00 0000000000 000c 00", 12), QByteArray("00000008ffffffff03000200 passed 0"));
        QVERIFY(m_disk->status().startsWith(QLatin1String("ejected: ")));
        QVERIFY(answerOf(QStringLiteral("eject")).startsWith(QLatin1String("ERROR: There is no disk")));
        QCOMPARE(m_host->run("1b 00 00 00 03 00"), QByteArray("passed 0"));
        QCOMPARE(m_host->run("00 00 00 00 00 00"), QByteArray("failed 0"));
        QCOMPARE(m_host->sense(), QByteArray("06 2800"));
        QCOMPARE(m_host->run("00 00 00 00 00 00"), QByteArray("passed 0"));
        QCOMPARE(m_host->run("1b 00 00 00 00 00"), QByteArray("passed 0"));
        QCOMPARE(m_host->run("00 00 00 00 00 00"), QByteArray("failed 0"));
        QCOMPARE(m_host->sense(), QByteArray("02 0402"));
    }

    void takesAnotherMedium()
    {
        numberedFile(path("other disk"), 3, 100); // and a rest that is no block
        const QString insert = QStringLiteral("insert ") + path("other disk");
        QVERIFY(answerOf(insert).startsWith(QLatin1String("ERROR: There is a disk in the drive")));
        answerOf(QStringLiteral("eject"));
        QVERIFY(answerOf(insert).endsWith(QLatin1String("other disk, 1536 bytes")));
        QCOMPARE(m_host->run("25 00 00000000 00 0000 00", 8), QByteArray("stall failed 8"));
        QCOMPARE(m_host->sense(), QByteArray("06 2800"));
        QCOMPARE(m_host->run("25 00 00000000 00 0000 00", 8), QByteArray("0000000200000200 passed 0"));
        QCOMPARE(m_host->run("2a 00 00000002 00 0001 00", 512, DiskHost::Out, QByteArray(512, 'x')),
                 QByteArray("passed 0"));
        QCOMPARE(m_host->run("35 00 00000000 00 0000 00"), QByteArray("passed 0"));
        QCOMPARE(contentOf(path("other disk")).mid(1024), QByteArray(512, 'x') + QByteArray(100, 3));
        QVERIFY2(!storage::Medium::fromFile(path("other disk")), "two devices write one image");
        answerOf(QStringLiteral("eject"));
        QVERIFY(answerOf(QStringLiteral("insert")).startsWith(QLatin1String("OK: inserted ")));
        m_host->settle();
        QCOMPARE(m_host->run("25 00 00000000 00 0000 00", 8), QByteArray("0000003f00000200 passed 0"));
    }

    void refusesFilesThatAreNoMedium_data()
    {
        QTest::addColumn<QString>("name");
        for (const char* name : {"missing", ".", "empty", "small"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void refusesFilesThatAreNoMedium()
    {
        QFETCH(QString, name);
        numberedFile(path("empty"), 0, 0);
        numberedFile(path("small"), 0, 511);
        answerOf(QStringLiteral("eject"));
        const QString answer = answerOf(QStringLiteral("insert ") + m_folder->filePath(name));
        QVERIFY2(answer.startsWith(QLatin1String("ERROR: ") + m_folder->path()), qPrintable(answer));
        QVERIFY(answerOf(QStringLiteral("insert ") + name).contains(QStringLiteral("not a whole path")));
        QVERIFY(m_disk->status().startsWith(QLatin1String("ejected: ")));
    }

    void protectsAReadOnlyFile()
    {
        numberedFile(path("protected"), 4, 0);
        QVERIFY(QFile::setPermissions(path("protected"), QFile::ReadOwner));
        answerOf(QStringLiteral("eject"));
        QString answer = answerOf(QStringLiteral("insert ") + path("protected"));
        if (!answer.endsWith(QLatin1String("write-protected"))) {
            // Root writes what nobody may write, but for a program that runs.
            answerOf(QStringLiteral("eject"));
            answer = answerOf(QStringLiteral("insert ") + QCoreApplication::applicationFilePath());
        }
        QVERIFY2(answer.endsWith(QLatin1String("write-protected")), qPrintable(answer));
        m_host->settle();
        QCOMPARE(m_host->run("1a 00 3f 00 04 00", 4), QByteArray("2f009000 passed 0"));
        QCOMPARE(m_host->run("2a 00 00000000 00 0001 00", 512, DiskHost::Out, QByteArray(512, 'x')),
                 QByteArray("failed 512"));
        QCOMPARE(m_host->sense(), QByteArray("07 2700"));
        QCOMPARE(m_host->run("35 00 00000000 00 0000 00"), QByteArray("passed 0"));
    }

    void keepsACommandOnTheMediumItBeganWith()
    {
        numberedFile(path("other"), 64, 0);
        FunctionHost& transfers = m_host->transfers();
        const QByteArray write = QByteArray::fromHex("2a 00 00000000 00 0002 00");
        transfers.out(DiskHost::kOut, DiskHost::wrapper(1, 1024, DiskHost::Out, write));
        transfers.out(DiskHost::kOut, QByteArray(512, 'x'));
        answerOf(QStringLiteral("eject"));
        answerOf(QStringLiteral("insert ") + path("other"));
        transfers.out(DiskHost::kOut, QByteArray(512, 'x'));
        QCOMPARE(contentOf(path("other")), numbered(64));
        QCOMPARE(contentOf(path("own")).left(1024), QByteArray(1024, 'x'));
    }

    void savesWhatWasThereWhenItBegan()
    {
        constexpr int kBlocks = 40960; // 20 MiB
        numberedFile(path("large"), kBlocks, 0);
        answerOf(QStringLiteral("eject"));
        answerOf(QStringLiteral("insert ") + path("large"));
        m_host->settle();
        QString answer;
        m_disk->carryOut(QStringLiteral("save ") + path("a copy"), [&](const QString& given) { answer = given; });
        QVERIFY(m_disk->status().contains(QStringLiteral("being saved")));
        QVERIFY(answerOf(QStringLiteral("save ") + path("second"))
                    .startsWith(QLatin1String("ERROR: A copy is being made")));
        for (int block = kBlocks - 1000; block >= 0; block -= 1000) {
            const QByteArray at = QByteArray::number(block, 16).rightJustified(8, '0');
            QCOMPARE(m_host->run("2a 00 " + at + " 00 0001 00", 512, DiskHost::Out, QByteArray(512, 'x')),
                     QByteArray("passed 0"));
        }
        QTRY_VERIFY(!answer.isEmpty());
        QCOMPARE(answer, QStringLiteral("OK: saved ") + path("a copy"));
        QVERIFY(contentOf(path("a copy")) == numbered(kBlocks));
        QVERIFY(contentOf(path("large")) != numbered(kBlocks));
    }

    void savesWholeOrNotAtAll()
    {
        numberedFile(path("target"), 1, 0);
        QCOMPARE(answerOf(QStringLiteral("save ") + path("target")), QStringLiteral("OK: saved ") + path("target"));
        QCOMPARE(contentOf(path("target")), numbered(64));
        for (const char* wrong : {"own", "missing/file", "."}) {
            const QString answer = answerOf(QStringLiteral("save ") + path(wrong));
            QVERIFY2(answer.startsWith(QLatin1String("ERROR: ")), qPrintable(answer));
        }
        QVERIFY(answerOf(QStringLiteral("save file")).startsWith(QLatin1String("ERROR: save takes the whole path")));
        QVERIFY(answerOf(QStringLiteral("save")).startsWith(QLatin1String("ERROR: save takes the whole path")));
        QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files),
                 (QStringList{QStringLiteral("own"), QStringLiteral("target")}));
        QCOMPARE(contentOf(path("own")), numbered(64));
    }

private:
    QString path(const char* name) const { return m_folder->filePath(QLatin1String(name)); }
    QString answerOf(const QString& command);

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<storage::Disk> m_disk;
    std::unique_ptr<DiskHost> m_host;
};

/// Waits for the answer.
QString ScsiTest::answerOf(const QString& command)
{
    QString answer;
    m_disk->carryOut(command, [&](const QString& given) { answer = given; });
    return QTest::qWaitFor([&] { return !answer.isEmpty(); }) ? answer : QStringLiteral("no answer");
}

PLUGBOARD_SUITE(ScsiTest)
#include "scsi_test.moc"
