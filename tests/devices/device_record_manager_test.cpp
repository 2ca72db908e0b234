#include "devices/device_record_manager.h"

#include "tests/support/suite_registry.h"

#include <QTemporaryDir>
#include <QtTest>

#include <cstdint>
#include <deque>

namespace {

QStringList s_warnings;

void recordWarning(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type == QtWarningMsg)
        s_warnings << text;
}

} // namespace

class DeviceRecordManagerTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        s_warnings.clear();
        qInstallMessageHandler(recordWarning);
    }

    void cleanup() { qInstallMessageHandler(nullptr); }

    void listsRecordsOnly()
    {
        for (const char* name :
             {"device_a_1.json", "device_.json", "device_b.txt.json", "Device_c_1.json", "device_d_1.JSON",
              "device_e_1.json.bak", "xdevice_f_1.json", "credentials.json", "device_.jso"})
            put(QString::fromLatin1(name), "{}");
        QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("device_folder_1.json")));
        QStringList listed = manager().listRecords();
        listed.sort();
        QCOMPARE(listed, QStringList({QStringLiteral("device_.json"), QStringLiteral("device_a_1.json"),
                                      QStringLiteral("device_b.txt.json")}));
    }

    void listsTenThousandRecords()
    {
        for (int number = 0; number <= 10'000; ++number)
            put(QStringLiteral("device_%1.json").arg(number), {});
        QCOMPARE(manager().listRecords().size(), 10'000);
    }

    /// Of processes that were killed while they saved. What may still be under way stays, and what a user called like
    /// that.
    void removesWhatInterruptedSavesLeft()
    {
        const auto putOld = [this](const char* name) {
            put(QString::fromLatin1(name), "{");
            QFile file(path(QString::fromLatin1(name)));
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(-90), QFileDevice::FileModificationTime));
        };
        putOld("device_a_101.json.AbcDef");
        putOld("device_a_101.json.backup");
        putOld("device_a_101.json.AbcDefg");
        put(QStringLiteral("device_b_7.json.ZyxWvu"), "{");
        manager({ProcessSnapshot(Ids{7})}).removeStaleRecords();
        QCOMPARE(fileNames(),
                 (QStringList{QStringLiteral("device_a_101.json.AbcDefg"), QStringLiteral("device_a_101.json.backup"),
                              QStringLiteral("device_b_7.json.ZyxWvu")}));
    }

    void loadsOrGivesADefaultRecord()
    {
        putRecord(QStringLiteral("a"), QStringLiteral("5"));
        QCOMPARE(manager().loadRecord(QStringLiteral("device_a_5.json")).deviceName, QStringLiteral("a"));

        const QByteArray object = R"({"deviceName":"big"})";
        put(QStringLiteral("device_1MiB.json"), object + QByteArray(1024 * 1024 - object.size(), ' '));
        put(QStringLiteral("device_more.json"), object + QByteArray(1024 * 1024 - object.size() + 1, ' '));
        QCOMPARE(manager().loadRecord(QStringLiteral("device_1MiB.json")).deviceName, QStringLiteral("big"));
        QCOMPARE(manager().loadRecord(QStringLiteral("device_more.json")).deviceName, QString());
        put(QStringLiteral("device_half.json"), "{\"deviceName\":\"h");
        QCOMPARE(manager().loadRecord(QStringLiteral("device_half.json")).deviceName, QString());
        QCOMPARE(s_warnings, QStringList());

        QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("below")));
        put(QStringLiteral("below/device_x.json"), object);
        QStringList expected;
        for (const char* name : {"device_absent.json", "below", "below/device_x.json", "below\\device_x.json"}) {
            QCOMPARE(manager().loadRecord(QString::fromLatin1(name)).deviceName, QString());
            expected << QStringLiteral("Failed to load device record from: ") + path(QString::fromLatin1(name));
        }
        QCOMPARE(s_warnings, expected);
    }

    void savesWhole()
    {
        DeviceRecord record;
        record.processId = 9;
        // The last one leaves no room in its file name for anything that a temporary file would add.
        for (const QString& name :
             {QStringLiteral("a"), QString(), QStringLiteral("\u00e4 \u6444.."), QString(241, QLatin1Char('n'))}) {
            record.deviceName = name;
            const QString fileName = deviceRecordFileName(record);
            put(fileName, QByteArray(5000, '#'));
            manager().saveRecord(record);
            QVERIFY2(manager().loadRecord(fileName).processId == 9, qPrintable(fileName));
            QCOMPARE(QFileInfo(path(fileName)).size(), serializeDeviceRecord(record).size());
        }
        QCOMPARE(fileNames().size(), 4);
        QCOMPARE(s_warnings, QStringList());
    }

    void refusesNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("leads out of the folder") << QStringLiteral("x/../../escaped");
        QTest::newRow("leads into a folder") << QStringLiteral("below/x");
        QTest::newRow("leads into a folder on Windows") << QStringLiteral("below\\x");
        QTest::newRow("names a stream of a file on Windows") << QStringLiteral("a:b");
        QTest::newRow("wildcards") << QStringLiteral("a*?");
        QTest::newRow("markup") << QStringLiteral("<b>");
        QTest::newRow("line feed") << QStringLiteral("a\nb");
        QTest::newRow("ends early at a null") << QString(QStringLiteral("a") + QChar(0) + QStringLiteral("b"));
        QTest::newRow("too long") << QString(300, QLatin1Char('n'));
    }

    void refusesNames()
    {
        QFETCH(QString, name);
        QVERIFY(QDir(m_folder->path()).mkpath(QStringLiteral("records/device_below")));
        QVERIFY(QDir(m_folder->path()).mkpath(QStringLiteral("records/device_x")));
        const QString folder = path(QStringLiteral("records"));
        DeviceRecord record;
        record.deviceName = name;
        record.processId = 3;
        DeviceRecordManager(folder, [] { return ProcessSnapshot::failed(); }).saveRecord(record);
        QCOMPARE(s_warnings, QStringList(QStringLiteral("Failed to save device record to: ") + folder +
                                         QLatin1Char('/') + deviceRecordFileName(record)));
        QCOMPARE(fileNames(), QStringList(QStringLiteral("records")));
        for (const char* inside : {"records", "records/device_below", "records/device_x"})
            QCOMPARE(QDir(path(QString::fromLatin1(inside))).entryList(QDir::Files | QDir::Hidden), QStringList());
    }

    void removesStaleRecords_data()
    {
        QTest::addColumn<QString>("processId");
        QTest::addColumn<bool>("snapshotWorks");
        QTest::addColumn<bool>("kept");
        // The canned snapshot holds 7, 100 and 4000000000.
        QTest::newRow("runs") << QStringLiteral("100") << true << true;
        QTest::newRow("ended") << QStringLiteral("101") << true << false;
        QTest::newRow("runs, with the sign bit set") << QStringLiteral("4000000000") << true << true;
        QTest::newRow("compared as 32 bits") << QStringLiteral("4294967303") << true << true;
        QTest::newRow("id 0 is never stale") << QStringLiteral("0") << true << true;
        QTest::newRow("id below 0 is never stale") << QStringLiteral("-5") << true << true;
        QTest::newRow("all go without a snapshot") << QStringLiteral("100") << false << false;
        QTest::newRow("all but ids below 1 go without a snapshot") << QStringLiteral("0") << false << true;
    }

    void removesStaleRecords()
    {
        QFETCH(QString, processId);
        QFETCH(bool, snapshotWorks);
        QFETCH(bool, kept);
        putRecord(QStringLiteral("subject"), processId);
        putRecord(QStringLiteral("other"), QStringLiteral("102"));
        put(QStringLiteral("device_number_1.json"), R"({"processId":101})");
        put(QStringLiteral("device_half_1.json"), R"({"processId":"101")");
        const ProcessSnapshot snapshot =
            snapshotWorks ? ProcessSnapshot(Ids{4000000000U, 100, 7}) : ProcessSnapshot::failed();
        QCOMPARE(snapshot.valid(), snapshotWorks);
        manager({snapshot}).removeStaleRecords();
        QStringList expected{QStringLiteral("device_half_1.json"), QStringLiteral("device_number_1.json")};
        if (kept)
            expected << QStringLiteral("device_subject_%1.json").arg(processId);
        QCOMPARE(fileNames(), expected);
        QCOMPARE(s_warnings, QStringList());
    }

    void warnsOfRecordsThatStay()
    {
        putRecord(QStringLiteral("a"), QStringLiteral("5"));
        putRecord(QStringLiteral("b"), QStringLiteral("6"));
        const QString lost = path(QStringLiteral("device_a_5.json"));
        // The file goes between the two steps, as when the device process itself removes it.
        const auto take = [&] {
            QFile::remove(lost);
            return ProcessSnapshot(Ids{});
        };
        DeviceRecordManager(m_folder->path() + QLatin1Char('/'), take).removeStaleRecords();
        QCOMPARE(s_warnings, QStringList(QStringLiteral("Failed to delete device record: ") + lost));
        QCOMPARE(fileNames(), QStringList());
    }

    void restoresDevices()
    {
        putRecord(QStringLiteral("cam"), QStringLiteral("10"), 1);
        putRecord(QStringLiteral("speaker"), QStringLiteral("11"), 8);
        putRecord(QStringLiteral("stopped"), QStringLiteral("12"), 1, false);
        putRecord(QStringLiteral("unknown"), QStringLiteral("13"), 9);
        putRecord(QStringLiteral("untyped"), QStringLiteral("14"), 0);
        putRecord(QStringLiteral("stale"), QStringLiteral("15"), 1);
        const ProcessSnapshot snapshot(Ids{10, 11, 12, 13, 14});
        QStringList shown;
        for (const auto& device : manager({snapshot, snapshot}).restoreDevices())
            shown << device.record.deviceName + (device.running ? QStringLiteral(" runs") : QStringLiteral(" stopped"));
        shown.sort();
        QCOMPARE(shown, QStringList({QStringLiteral("cam runs"), QStringLiteral("speaker runs")}));
        QVERIFY(!QFile::exists(path(QStringLiteral("device_stale_15.json"))));
        QCOMPARE(fileNames().size(), 5);
        QVERIFY(manager({snapshot}).isProcessRunning((qint64(1) << 32) + 10));
        QVERIFY(!manager({snapshot}).isProcessRunning(15));
        QVERIFY(!manager({ProcessSnapshot::failed()}).isProcessRunning(10));
    }

    void marksWhatEndedBetweenTheSnapshots()
    {
        putRecord(QStringLiteral("ends"), QStringLiteral("20"), 6);
        const auto devices = manager({ProcessSnapshot(Ids{20}), ProcessSnapshot(Ids{21})}).restoreDevices();
        QCOMPARE(devices.size(), 1);
        QVERIFY(!devices.first().running && !devices.first().record.isRunning);
        const DeviceRecord saved = manager().loadRecord(QStringLiteral("device_ends_20.json"));
        QVERIFY(!saved.isRunning);
        QCOMPARE(saved.deviceType, 6);
        QCOMPARE(saved.lastUpdateTime, QDateTime(QDate(2030, 1, 2), QTime(3, 4, 5)));

        putRecord(QStringLiteral("ends"), QStringLiteral("20"), 6);
        QVERIFY(!manager({ProcessSnapshot(Ids{20}), ProcessSnapshot::failed()}).restoreDevices().first().running);
    }

private:
    using Ids = std::vector<std::uint32_t>;

    /// A manager that is given these snapshots in turn; a test that takes more fails.
    DeviceRecordManager manager(std::deque<ProcessSnapshot> snapshots = {});
    QString path(const QString& name) const { return m_folder->filePath(name); }
    void put(const QString& name, const QByteArray& content);
    void putRecord(const QString& deviceName, const QString& processId, int type = 1, bool running = true);
    QStringList fileNames() const;

    std::unique_ptr<QTemporaryDir> m_folder;
};

DeviceRecordManager DeviceRecordManagerTest::manager(std::deque<ProcessSnapshot> snapshots)
{
    const auto left = std::make_shared<std::deque<ProcessSnapshot>>(std::move(snapshots));
    const auto take = [left] {
        if (left->empty())
            qFatal("a snapshot more than expected");
        const ProcessSnapshot next = left->front();
        left->pop_front();
        return next;
    };
    const auto now = [] { return QDateTime(QDate(2030, 1, 2), QTime(3, 4, 5)); };
    return DeviceRecordManager(m_folder->path(), take, nullptr, now);
}

void DeviceRecordManagerTest::put(const QString& name, const QByteArray& content)
{
    QFile file(path(name));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

void DeviceRecordManagerTest::putRecord(const QString& deviceName, const QString& processId, int type, bool running)
{
    DeviceRecord record;
    record.deviceType = type;
    record.deviceName = deviceName;
    record.processId = processId.toLongLong();
    record.isRunning = running;
    put(deviceRecordFileName(record), serializeDeviceRecord(record));
}

QStringList DeviceRecordManagerTest::fileNames() const
{
    return QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

PLUGBOARD_SUITE(DeviceRecordManagerTest)
#include "device_record_manager_test.moc"
