#include "tests/emulation/disk_host.h"
#include "tests/emulation/storage_files.h"
#include "tests/support/suite_registry.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

const QByteArray kRead1 = "28 00 00000003 00 0001 00";
const QByteArray kRead2 = "28 00 00000003 00 0002 00";
const QByteArray kWrite1 = "2a 00 00000003 00 0001 00";
const QByteArray kWrite2 = "2a 00 00000003 00 0002 00";
const QByteArray kReady = "00 00 00 00 00 00";

QByteArray hexOf(int blocks, char content)
{
    return QByteArray(512 * blocks, content).toHex();
}

} // namespace

/// The transport between a host that is right, wrong or rude, and a disk of 64 blocks each filled with its number.
class BulkOnlyTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_disk = std::make_unique<storage::Disk>(diskIdentity(),
                                                 numberedMedium(m_folder->filePath(QStringLiteral("disk")), 64));
        m_host = std::make_unique<DiskHost>(*m_disk);
        QCOMPARE(m_host->run(kReady), QByteArray("failed 0"));
        QCOMPARE(m_host->sense(), QByteArray("06 2900"));
    }

    void cleanup()
    {
        m_host.reset();
        m_disk.reset();
        m_folder.reset();
    }

    void hasFaultlessDescriptors()
    {
        for (const std::uint16_t version : {0x0200, 0x0300}) {
            const storage::Disk disk(diskIdentity(version),
                                     numberedMedium(m_folder->filePath(QStringLiteral("other")), 64));
            const auto faults = usb::faultsOf(disk.descriptors());
            QVERIFY2(faults.empty(), faults.empty() ? "" : qPrintable(faults.front()));
        }
    }

    void answersTheThirteenCases_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<int>("length");
        QTest::addColumn<bool>("in");
        QTest::addColumn<int>("piece");
        QTest::addColumn<QByteArray>("expected");
        QTest::addColumn<QByteArray>("block3and4");
        const QByteArray untouched = hexOf(1, 3) + hexOf(1, 4);
        const auto addRow = [&](const char* name, const QByteArray& command, int length, bool in,
                                const QByteArray& expected, int piece = 1 << 20, const QByteArray& after = {}) {
            QTest::newRow(name) << command << length << in << piece << expected
                                << (after.isEmpty() ? untouched : after);
        };
        const QByteArray read = hexOf(1, 3);
        addRow("1: no data", kReady, 0, true, "passed 0");
        addRow("2: none expected, some to send", kRead1, 0, true, "phase error 0");
        addRow("3: none expected, some to take", kWrite1, 0, false, "phase error 0");
        addRow("4: some expected, none to send", kReady, 512, true, "stall passed 512");
        addRow("5: more expected than sent", kRead1, 1024, true, read + " passed 512");
        addRow("5: the transfer is full and more is expected", kRead1, 1024, true, read + " stall passed 512", 512);
        addRow("6: as expected", kRead2, 1024, true, hexOf(1, 3) + hexOf(1, 4) + " passed 0");
        addRow("6: in pieces", kRead2, 1024, true, hexOf(1, 3) + hexOf(1, 4) + " passed 0", 512);
        addRow("7: less expected than sent", kRead2, 512, true, "stall phase error 512");
        addRow("8: expects to read, is to write", kWrite1, 512, true, "stall phase error 512");
        addRow("9: some to come, none to take", kReady, 512, false, "passed 512");
        addRow("10: expects to write, is to read", kRead1, 512, false, "phase error 512");
        addRow("11: more to come than to take", kWrite1, 1024, false, "passed 512", 1 << 20,
               hexOf(1, 'w') + hexOf(1, 4));
        addRow("11: in pieces", kWrite1, 1024, false, "passed 512", 512, hexOf(1, 'w') + hexOf(1, 4));
        addRow("12: as expected", kWrite2, 1024, false, "passed 0", 512, hexOf(2, 'w'));
        addRow("13: less to come than to take", kWrite2, 512, false, "phase error 512");
        addRow("4: a failed command stalls", "28 00 00000040 00 0001 00", 512, true, "stall failed 512");
        addRow("9: a failed command drops its data", "2a 00 00000040 00 0001 00", 512, false, "failed 512");
    }

    void answersTheThirteenCases()
    {
        QFETCH(QByteArray, command);
        QFETCH(int, length);
        QFETCH(bool, in);
        QFETCH(int, piece);
        QFETCH(QByteArray, expected);
        QFETCH(QByteArray, block3and4);
        const QByteArray data = in ? QByteArray() : QByteArray(length, 'w');
        QCOMPARE(
            m_host->run(command, std::uint32_t(length), in ? DiskHost::In : DiskHost::Out, data, std::uint32_t(piece)),
            expected);
        QCOMPARE(m_host->run(kRead2, 1024), block3and4 + " passed 0");
    }

    void stallsInvalidWrappersUntilReset_data()
    {
        QTest::addColumn<QByteArray>("wrapper");
        const QByteArray ready(6, '\0');
        const QByteArray right = DiskHost::wrapper(1, 0, DiskHost::In, ready);
        QTest::newRow("too short") << right.left(30);
        QTest::newRow("too long") << right + '\0';
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("signature of a status") << QByteArray(right).replace(3, 1, "S");
        QTest::newRow("no command") << QByteArray(right).replace(14, 1, QByteArray(1, '\0'));
        QTest::newRow("command of 17 bytes") << QByteArray(right).replace(14, 1, "\x11");
    }

    void stallsInvalidWrappersUntilReset()
    {
        QFETCH(QByteArray, wrapper);
        FunctionHost& transfers = m_host->transfers();
        QCOMPARE(transfers.result(transfers.out(DiskHost::kOut, wrapper)), QStringLiteral("stall"));
        for (int attempt = 0; attempt < 2; ++attempt) {
            QCOMPARE(transfers.result(transfers.in(DiskHost::kIn, 13)), QStringLiteral("stall"));
            QCOMPARE(transfers.clearHalt(DiskHost::kIn), QStringLiteral("ok"));
            QCOMPARE(transfers.clearHalt(DiskHost::kOut), QStringLiteral("ok"));
            const QByteArray right = DiskHost::wrapper(2, 0, DiskHost::In, QByteArray(6, '\0'));
            QCOMPARE(transfers.result(transfers.out(DiskHost::kOut, right)), QStringLiteral("stall"));
        }
        QCOMPARE(transfers.control(QStringLiteral("21ff000000000000")), QStringLiteral("ok"));
        transfers.clearHalt(DiskHost::kIn);
        transfers.clearHalt(DiskHost::kOut);
        QCOMPARE(m_host->run(kReady), QByteArray("passed 0"));
    }

    void answersRequests_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("result");
        const auto addRow = [](const char* name, const char* setup, const char* result) {
            QTest::newRow(name) << QString::fromLatin1(setup) << QString::fromLatin1(result);
        };
        addRow("highest unit", "a1fe000000000100", "ok 00");
        addRow("highest unit of another interface", "a1fe000001000100", "stall");
        addRow("highest unit in two bytes", "a1fe000000000200", "stall");
        addRow("reset with a value", "21ff010000000000", "stall");
        addRow("reset that reads", "a1ff000000000000", "stall");
        addRow("request that there is not", "a1fd000000000100", "stall");
        addRow("class descriptor", "8106002100000900", "stall");
    }

    void answersRequests()
    {
        QFETCH(QString, setup);
        QFETCH(QString, result);
        QCOMPARE(m_host->transfers().control(setup), result);
        QCOMPARE(m_host->run(kReady), QByteArray("passed 0"));
    }

    /// A host may ask for data and status before it sends the command.
    void servesTransfersThatWait()
    {
        FunctionHost& transfers = m_host->transfers();
        const std::uint32_t takenBack = transfers.in(DiskHost::kIn, 512);
        const std::uint32_t data = transfers.in(DiskHost::kIn, 512);
        const std::uint32_t status = transfers.in(DiskHost::kIn, 13);
        QVERIFY(transfers.device().cancel(takenBack));
        transfers.out(DiskHost::kOut, DiskHost::wrapper(7, 512, DiskHost::In, QByteArray::fromHex(kRead1)));
        QCOMPARE(transfers.data(data), QByteArray(512, 3));
        QCOMPARE(transfers.data(status).toHex(), QByteArray("55534253"
                                                            "07000000"
                                                            "00000000"
                                                            "00"));
    }

    void holdsWhatWaitsBehindAStall()
    {
        FunctionHost& transfers = m_host->transfers();
        const std::uint32_t data = transfers.in(DiskHost::kIn, 512);
        const std::uint32_t status = transfers.in(DiskHost::kIn, 13);
        transfers.out(DiskHost::kOut, DiskHost::wrapper(7, 512, DiskHost::In, QByteArray::fromHex(kReady)));
        QCOMPARE(transfers.result(data), QStringLiteral("stall"));
        QCOMPARE(transfers.result(status), QStringLiteral("pending"));
        QCOMPARE(transfers.clearHalt(DiskHost::kIn), QStringLiteral("ok"));
        QCOMPARE(transfers.data(status).toHex(), QByteArray("55534253"
                                                            "07000000"
                                                            "00020000"
                                                            "00"));
    }

    void holdsTheNextCommandBack()
    {
        FunctionHost& transfers = m_host->transfers();
        transfers.out(DiskHost::kOut, DiskHost::wrapper(7, 0, DiskHost::In, QByteArray(6, '\0')));
        const std::uint32_t next =
            transfers.out(DiskHost::kOut, DiskHost::wrapper(8, 0, DiskHost::In, QByteArray(6, '\0')));
        QVERIFY(!transfers.isDone(next));
        QCOMPARE(transfers.data(transfers.in(DiskHost::kIn, 13)).mid(4, 1), QByteArray("\7"));
        QVERIFY(transfers.isDone(next));
        QCOMPARE(transfers.data(transfers.in(DiskHost::kIn, 13)).mid(4, 1), QByteArray("\x08"));
    }

    void endsDataThatAreCutShort()
    {
        QCOMPARE(m_host->run(kWrite2, 1024, DiskHost::Out, QByteArray(600, 'w')), QByteArray("failed 424"));
        QCOMPARE(m_host->sense(), QByteArray("0b 4b00"));
        QCOMPARE(m_host->run(kReady), QByteArray("passed 0"));
    }

    void dropsACommandOnReset()
    {
        FunctionHost& transfers = m_host->transfers();
        transfers.out(DiskHost::kOut, DiskHost::wrapper(7, 1024, DiskHost::Out, QByteArray::fromHex(kWrite2)));
        transfers.out(DiskHost::kOut, QByteArray(512, 'w'));
        QCOMPARE(transfers.control(QStringLiteral("21ff000000000000")), QStringLiteral("ok"));
        QCOMPARE(m_host->run(kReady), QByteArray("passed 0"));
        QCOMPARE(block(4), QByteArray(512, 4));
    }

    void refusesOtherUnits()
    {
        FunctionHost& transfers = m_host->transfers();
        transfers.out(DiskHost::kOut, DiskHost::wrapper(7, 0, DiskHost::In, QByteArray(6, '\0'), 1));
        QCOMPARE(transfers.data(transfers.in(DiskHost::kIn, 13)).right(1), QByteArray("\1"));
        QCOMPARE(m_host->sense(), QByteArray("05 2500"));
    }

private:
    QByteArray block(int number);

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<storage::Disk> m_disk;
    std::unique_ptr<DiskHost> m_host;
};

QByteArray BulkOnlyTest::block(int number)
{
    m_host->run("28 00 000000" + QByteArray::number(number, 16).rightJustified(2, '0') + " 00 0001 00", 512);
    return m_host->data();
}

PLUGBOARD_SUITE(BulkOnlyTest)
#include "bulk_only_test.moc"
