#include "capture/channel/packet_store.h"
#include "capture/channel/usbip_header.h"
#include "tests/support/suite_registry.h"

#include <QTemporaryFile>
#include <QtTest>

#include <thread>

namespace {

constexpr quint32 kCount = 60'000;

UsbIPPacketInfo packetOf(quint32 number)
{
    UsbIPPacketInfo packet;
    packet.timestamp = 1700000000000 + number;
    packet.deviceId = number; // one of its own each
    packet.sequenceNumber = ~number;
    packet.data = QByteArray(int(number % 400), char(number));
    return packet;
}

bool isPacket(const PacketView& packet, quint32 number)
{
    return packet.deviceId == number && packet.sequenceNumber == ~number &&
           packet.data == std::string(number % 400, char(number));
}

std::shared_ptr<PacketStore> filled(qint64 budget)
{
    auto store = std::make_shared<PacketStore>(budget);
    for (quint32 number = 0; number < kCount; ++number)
        store->append(packetOf(number));
    return store;
}

QByteArray swapped(QByteArray words)
{
    for (int place = 0; place < words.size(); place += 4)
        std::reverse(words.data() + place, words.data() + place + 4);
    return words;
}

quint32 wrongPackets(const std::shared_ptr<const PacketStore>& store, quint32 step)
{
    PacketReader reader(store);
    quint32 wrong = 0;
    for (quint32 i = 0; i < kCount; ++i) {
        const quint32 number = quint32(quint64(i) * step % kCount);
        wrong += isPacket(reader.read(number), number) ? 0 : 1;
    }
    return wrong;
}

} // namespace

class PacketStoreTest : public QObject
{
    Q_OBJECT

private slots:
    void packetsComeBackAsTheyWere()
    {
        UsbIPPacketInfo packet = packetOf(300);
        packet.isRequest = packet.isUnlink = true;
        packet.endpoint = 1;
        packet.direction = 2;
        packet.command = 3;
        packet.transferType = 4;
        packet.transferLength = 0xFFFFFFFF;
        packet.protocolInfo = QStringLiteral("\u6C49 info");
        packet.parsedDetails = QStringLiteral("details");
        packet.setupData = "12345678";
        packet.usbipHeader = QByteArray(65535, 'h');
        packet.data = QByteArray(3 << 20, 'd'); // more than a page
        PacketStore store;
        store.append(packetOf(7));
        store.append(packet);
        store.append(packetOf(8));
        QCOMPARE(store.size(), std::size_t(3));
        const UsbIPPacketInfo back = store.at(1);
        QVERIFY(back.isRequest && back.isUnlink);
        QCOMPARE(back.endpoint + 10 * back.direction + 100 * back.command + 1000 * back.transferType, 4321);
        QCOMPARE(back.transferLength, packet.transferLength);
        QCOMPARE(back.timestamp, packet.timestamp);
        QCOMPARE(back.protocolInfo + back.parsedDetails, packet.protocolInfo + packet.parsedDetails);
        QCOMPARE(back.setupData + back.usbipHeader + back.data, packet.setupData + packet.usbipHeader + packet.data);
        QCOMPARE(store.at(2).deviceId, 8U);

        // Headers of devices, in either order of bytes, and with every byte made wrong.
        for (const QByteArray& bytes : {usbip_header::make(packet, 5), swapped(usbip_header::make(packet, 5))}) {
            packet = packetOf(9);
            packet.setupData = "12345678";
            packet.isRequest = true;
            for (int place = -1; place < bytes.size(); ++place) {
                packet.usbipHeader = bytes;
                if (place >= 0)
                    packet.usbipHeader[place] = char(~packet.usbipHeader[place]);
                store.append(packet);
                const UsbIPPacketInfo kept = store.at(store.size() - 1);
                QCOMPARE(kept.usbipHeader.toHex(' '), packet.usbipHeader.toHex(' '));
                QCOMPARE(kept.setupData + kept.data, packet.setupData + packet.data);
            }
        }
    }

    void oldestPacketsMoveToAFile()
    {
        constexpr qint64 kBudget = 2 << 20;
        const auto store = filled(kBudget);
        const PacketStore::Usage usage = store->usage();
        QVERIFY2(usage.memory <= kBudget + (1 << 20), qPrintable(QString::number(usage.memory)));
        QVERIFY2(usage.file > 10 << 20, qPrintable(QString::number(usage.file)));
        QCOMPARE(wrongPackets(store, 1), 0U);
        quint32 wrongElsewhere = kCount;
        std::thread other([&] { // while packets come: the newest ones, then all in no order
            quint32 wrong = 0;
            PacketReader reader(store);
            for (quint32 last = kCount; last < kCount + kCount / 4 - 1;
                 wrong += isPacket(reader.read(last), last % kCount) ? 0 : 1)
                last = quint32(store->size()) - 1;
            wrongElsewhere = wrong + wrongPackets(store, 101);
        });
        for (quint32 number = 0; number < kCount / 4; ++number)
            store->append(packetOf(number));
        other.join();
        QCOMPARE(wrongElsewhere, 0U);
        QVERIFY(store->usage().fileError.isEmpty());
        store->setMemoryBeside(kBudget - (1 << 20)); // the rows of a table, say
        for (quint32 number = 0; number < kCount / 10; ++number)
            store->append(packetOf(number));
        QVERIFY2(store->usage().memory <= kBudget + (1 << 20), qPrintable(QString::number(store->usage().memory)));
    }

    void diskThatRefusesLosesNothing()
    {
        QTemporaryFile noFolder;
        QVERIFY(noFolder.open());
        const QByteArray before = qgetenv("TMPDIR");
#ifdef Q_OS_WIN
        QSKIP("the folder of temporary files cannot be taken away from one process");
#endif
        qputenv("TMPDIR", noFolder.fileName().toUtf8());
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("Packets stay in memory beyond its budget: .*")));
        const auto store = filled(1 << 20);
        if (before.isNull())
            qunsetenv("TMPDIR");
        else
            qputenv("TMPDIR", before);
        QVERIFY(!store->usage().fileError.isEmpty());
        QCOMPARE(wrongPackets(store, 1), 0U);
    }
};

PLUGBOARD_SUITE(PacketStoreTest)
#include "packet_store_test.moc"
