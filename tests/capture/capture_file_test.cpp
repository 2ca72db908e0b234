#include "capture/channel/usbip_header.h"
#include "capture/decode/packet_columns.h"
#include "capture/file/file_job.h"
#include "tests/capture/captures.h"
#include "tests/support/suite_registry.h"

#include <QBuffer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#ifdef Q_OS_LINUX
#include "tests/support/file_size_limit_linux.h"
#endif

#include <cerrno>
#include <cstring>

using tests::Packets;
using tests::sessionPackets;
using tests::transfersOf;
using tests::writeCapture;

class CaptureFileTest : public QObject
{
    Q_OBJECT

private slots:
    void fileThatCannotBeReadSaysWhy_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("packets");
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        writeCapture(buffer, sessionPackets(QStringLiteral("keyboard"), 2));
        const QByteArray whole = buffer.data();
        QTest::newRow("whole") << whole << "" << 2;
        QTest::newRow("text") << QByteArray("GIF89a and more") << "The file is not a pcapng file." << 0;
        QTest::newRow("cut within the last packet")
            << whole.left(whole.size() - 3) << "The file ends within a block." << 1;
        QTest::newRow("cut within a block's head") << whole.left(33) << "The file ends within a block." << 0;
        const int interface = int(qFromLittleEndian<quint32>(whole.constData() + 4)); // where its block begins
        QByteArray endless = whole;
        endless.replace(interface + 4, 4, QByteArray(4, '\xF0'));
        QTest::newRow("block of four gigabytes") << endless << "The file has a block of impossible length." << 0;
        QByteArray wrongLink = whole;
        wrongLink[interface + 8] = 1;
        QTest::newRow("packets of another link")
            << wrongLink << "The file holds no USB packets; its packets are of link type 1." << 0;
        QBuffer plain;
        plain.open(QIODevice::WriteOnly);
        writeCapture(plain, sessionPackets(QStringLiteral("keyboard"), 2), QStringLiteral("a.pcap"));
        QByteArray damaged = plain.data();
        damaged.insert(24, QByteArray(8, '\0') + QByteArray::fromHex("0400000004000000") +
                               "junk"); // behind the file's head
        QTest::newRow("a record that is too short") << damaged << "1 damaged packets were left out." << 2;
        QTest::newRow("a line that is none of text")
            << QByteArray("1 5 S Ci:1:002:0 s 80 06 0100 0000 0012 18 <\nnonsense\n")
            << "1 damaged packets were left out." << 1;
        QTest::newRow("no packets") << whole.left(interface) << "The file holds no packets." << 0;
    }

    void fileThatCannotBeReadSaysWhy()
    {
        QFETCH(QByteArray, bytes);
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        const tests::ReadResult result = tests::readCapture(buffer);
        QTEST(result.error, "error");
        QTEST(int(result.packets.size()), "packets");
    }

    // Found out before or after the last bytes were handed over; an old file stays as it was.
    void fullDiskFailsTheSavingAndSaysWhy()
    {
#ifdef Q_OS_LINUX
        const QTemporaryDir folder;
        QFile old(folder.filePath(QStringLiteral("a.pcapng")));
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
        old.close();
        for (const int count : {2, 2000}) {
            const auto work =
                savingWork(tests::storeOf(sessionPackets(QStringLiteral("camera"), count)), 0, old.fileName());
            const tests::FileSizeLimit limit(100);
            JobProgress progress;
            QCOMPARE(work(progress), QString::fromLocal8Bit(strerror(EFBIG)));
        }
        QVERIFY(old.open(QIODevice::ReadOnly));
        QCOMPARE(old.readAll(), QByteArray("old"));
#else
        QSKIP("the disk of one process cannot be made full");
#endif
    }

    // Records as the kernel writes them: an address for an id, no block of ours, either byte order and size of header.
    void recordsOfOthersKeepTheirStatus_data()
    {
        QTest::addColumn<int>("headerSize");
        QTest::addColumn<bool>("bigEndian");
        QTest::newRow("64 bytes") << 64 << false;
        QTest::newRow("48 bytes") << 48 << false;
        QTest::newRow("64 bytes, big-endian") << 64 << true;
    }

    void recordsOfOthersKeepTheirStatus()
    {
        QFETCH(int, headerSize);
        QFETCH(bool, bigEndian);
        const auto add = [bigEndian](QByteArray& bytes, auto value, int offset = -1) {
            char raw[sizeof value];
            if (bigEndian)
                qToBigEndian(value, raw);
            else
                qToLittleEndian(value, raw);
            bytes.replace(offset < 0 ? bytes.size() : offset, offset < 0 ? 0 : int(sizeof raw), raw, int(sizeof raw));
        };
        const auto block = [&](quint32 type, const QByteArray& body) {
            QByteArray bytes;
            add(bytes, type);
            add(bytes, quint32(body.size() + 12));
            bytes += body;
            add(bytes, quint32(body.size() + 12));
            return bytes;
        };
        const auto packet = [&](char event, qint32 status) {
            QByteArray record(headerSize, '\0');
            add(record, Q_UINT64_C(0xffff888012345678), 0);
            record[8] = event;
            record[9] = 2; // control
            record[10] = char(0x80);
            record[11] = 5; // device
            add(record, quint16(3), 12);
            record[14] = event == 'S' ? 0 : '-';
            record[15] = '<';
            add(record, qint64(1700000000), 16);
            add(record, qint32(5000), 24);
            add(record, status, 28);
            add(record, quint32(event == 'S' ? 18 : 0), 32);
            record.replace(40, 8, QByteArray::fromHex("8006000100001200"));
            QByteArray body;
            for (const quint32 word : {0U, 0U, 0U, quint32(headerSize), quint32(headerSize)})
                add(body, word);
            return block(6, body + record);
        };
        QByteArray section;
        add(section, quint32(0x1A2B3C4D));
        add(section, quint16(1));
        add(section, quint16(0));
        add(section, qint64(-1));
        QByteArray interface;
        add(interface, quint16(headerSize == 64 ? 220 : 189));
        add(interface, quint16(0));
        add(interface, quint32(0));
        QByteArray ofSeconds = interface; // each tick a second, so that the time is far beyond any calendar
        add(ofSeconds, quint16(9));       // if_tsresol
        add(ofSeconds, quint16(1));
        add(ofSeconds, quint32(0));
        QByteArray late = packet('S', -115);
        late.replace(12, 8, QByteArray(8, '\xff'));
        QByteArray file = block(0x0A0D0D0A, section) + block(1, interface) + packet('S', -115) + packet('C', -32) +
                          packet('S', -115) + packet('C', 0) + block(0x0A0D0D0A, section) + block(1, ofSeconds) + late;
        QBuffer buffer(&file);
        buffer.open(QIODevice::ReadOnly);
        const tests::ReadResult result = tests::readCapture(buffer);
        QCOMPARE(result.error, QString());
        QStringList lines;
        for (const UsbIPPacketInfo& read : result.packets)
            lines << QStringLiteral("%1 %2 %3")
                         .arg(read.deviceId, 0, 16)
                         .arg(read.sequenceNumber)
                         .arg(read.parsedDetails);
        const QString request = QStringLiteral(" INN STD TO_DEV USB_REQUEST_GET_DESCRIPTORUSB_DEVICE_DESCRIPTOR_TYPE");
        QCOMPARE(lines,
                 QStringList({QStringLiteral("30005 1") + request, QStringLiteral("30005 1 status=0xffffffe0 len=0x0"),
                              QStringLiteral("30005 2") + request, QStringLiteral("30005 2 status=0x0 len=0x0"),
                              QStringLiteral("30005 3") + request}));
        QCOMPARE(result.packets[0].timestamp, 1700000000005);
        QCOMPARE(result.packets.back().timestamp, 253402300799999);
    }

    // An address for an id, a status in its place, 32 bytes of data at most, an event that failed.
    void kernelsTextIsRead()
    {
        QByteArray text = "ffff9c3e5c8e0000 1000200 S Ci:3:005:0 s 80 06 0200 0000 00ff 255 <\n"
                          "ffff9c3e5c8e0000 1000900 C Ci:3:005:0 -32 0\n"
                          "ffff9c3e5c8e0000 1001000 S Bi:3:005:1 -115 512 <\n"
                          "ffff9c3e5c8e0000 1002500 C Bi:3:005:1 0 512 = 55534253 01000000 00000000 00000000 00000000 "
                          "00000000 00000000 00000000\n"
                          "ffff9c3e5c8e0040 1003000 C Zi:3:005:2 0:1:42:0 2 0:0:3 0:3:1 4 = 01020304\n"
                          "ffff9c3e5c8e0080 1004000 C Ii:3:005:3 -2:8 0\n";
        QBuffer buffer(&text);
        buffer.open(QIODevice::ReadOnly);
        const tests::ReadResult result = tests::readCapture(buffer);
        QCOMPARE(result.error, QString());
        QStringList lines;
        for (const UsbIPPacketInfo& packet : result.packets)
            lines << QStringLiteral("%1 %2 %3 %4 %5 status %6 missing %7")
                         .arg(packet.sequenceNumber)
                         .arg(transferTypeName(packet.transferType))
                         .arg(packet.endpoint)
                         .arg(packet.transferLength)
                         .arg(QString::fromLatin1(packet.setupData.toHex() + packet.data.left(4).toHex()))
                         .arg(packet.isRequest ? 0
                                               : qint32(usbip_header::word(packet.usbipHeader, usbip_header::Status)))
                         .arg(missingBytes(packet));
        QCOMPARE(lines, QStringList({QStringLiteral("1 CTL 0 255 800600020000ff00 status 0 missing 0"),
                                     QStringLiteral("1 CTL 0 0  status -32 missing 0"),
                                     QStringLiteral("2 BLK 1 512  status 0 missing 0"),
                                     QStringLiteral("2 BLK 1 512 55534253 status 0 missing 480"),
                                     QStringLiteral("3 ISO 2 4 01020304 status 0 missing 0"),
                                     QStringLiteral("4 INT 3 0  status -2 missing 0")}));
    }

    void otherFormsReadBack_data()
    {
        QTest::addColumn<QString>("form");
        QTest::addColumn<QString>("converter"); ///< program and arguments before the two files
        QTest::addColumn<int>("leftOut");       ///< column that the form does not keep, -1 for none
        QTest::newRow("pcap") << "a.pcap"
                              << "" << -1;
        QTest::newRow("usbmon's text") << "a.txt"
                                       << "" << int(TimeColumn);
        QTest::newRow("usbmon's records") << "a.mon"
                                          << "" << -1;
        QTest::newRow("Windows") << "a.usbpcap"
                                 << "" << int(LengthColumn);
        QTest::newRow("without our blocks") << "a.pcapng"
                                            << "editcap -F pcapng" << -1;
        QTest::newRow("nanoseconds") << "a.pcapng"
                                     << "editcap -F nsecpcap" << -1;
        QTest::newRow("merged") << "a.pcapng"
                                << "mergecap -w" << -1;
    }

    void otherFormsReadBack()
    {
        QFETCH(QString, form);
        QFETCH(QString, converter);
        QFETCH(int, leftOut);
        QStringList command = converter.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (!command.isEmpty() && QStandardPaths::findExecutable(command[0]).isEmpty())
            QSKIP("the analyser's tools are not installed");
        const auto textsOf = [leftOut](const Packets& packets) {
            QStringList texts;
            for (UsbIPPacketInfo packet : packets) {
                packet.transferLength = quint32(packet.isRequest ? packet.transferLength : carriedLength(packet));
                QStringList columns;
                for (int column = 0; column < DetailsColumn; ++column)
                    columns << (column == leftOut ? QString() : packetColumnText(packet, column));
                columns << QString::number(packet.deviceId)
                        << (packet.isRequest ? QString()
                                             : QString::number(qint32(
                                                   usbip_header::word(packet.usbipHeader, usbip_header::Status))));
                texts << columns.join(QLatin1Char('|'));
            }
            return texts;
        };
        QTemporaryDir folder;
        for (const QString& kind : tests::SampleTraffic::kinds()) {
            const Packets packets = sessionPackets(kind, 300);
            QFile file(folder.filePath(form));
            QVERIFY(file.open(QIODevice::WriteOnly) && writeCapture(file, packets, form));
            file.close();
            if (!command.isEmpty()) {
                const QString converted = folder.filePath(QStringLiteral("converted"));
                const bool outputFirst = command[0] == QLatin1String("mergecap");
                QCOMPARE(QProcess::execute(command[0],
                                           command.mid(1) + QStringList{outputFirst ? converted : file.fileName(),
                                                                        outputFirst ? file.fileName() : converted}),
                         0);
                file.setFileName(converted);
            }
            QVERIFY(file.open(QIODevice::ReadOnly));
            const tests::ReadResult result = tests::readCapture(file);
            QCOMPARE(result.error, QString());
            QCOMPARE(textsOf(result.packets), textsOf(transfersOf(packets)));
        }
    }
};

PLUGBOARD_SUITE(CaptureFileTest)
#include "capture_file_test.moc"
