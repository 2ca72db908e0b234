#include "capture/channel/usbip_header.h"
#include "tests/capture/captures.h"
#include "tests/support/suite_registry.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace {

using tests::Packets;
using Fields = QMap<QString, QString>;

/// What no session sends: transfers without their other half, cut after 64 KiB, of a time long ago.
Packets oddPackets()
{
    Packets packets;
    for (const int type : {ControlTransfer, IsochronousTransfer, BulkTransfer, InterruptTransfer}) {
        for (const int direction : {0, 1}) {
            UsbIPPacketInfo packet;
            packet.timestamp = 1000;
            packet.deviceId = 0xFFFF007E;
            packet.sequenceNumber = 0x80000000 + quint32(packets.size());
            packet.transferType = quint8(type);
            packet.direction = quint8(direction);
            packet.endpoint = 15;
            packet.isRequest = direction == 0;
            packet.transferLength = 1 << 20;
            packet.data = QByteArray(65535, char(type));
            packets.push_back(packet);
            packet.isRequest = direction != 0; // the leg that carries nothing
            packet.isUnlink = true;
            packet.data.clear();
            packets.push_back(packet);
        }
    }
    return packets;
}

const QStringList& analyserFields()
{
    static const QStringList s_names =
        QStringLiteral("frame.time_epoch frame.cap_len usb.transfer_type usb.endpoint_address usb.device_address "
                       "usb.bus_id usb.setup.bRequest usb.setup.wLength usb.bmRequestType usb.irp_info.direction "
                       "usb.usbd_status usb.urb_type usb.urb_status usb.urb_len usb.urb_id")
            .split(QLatin1Char(' '));
    return s_names;
}

/// The analyser's packets, as it prints them. Its decoders of classes would give fields of requests other names.
std::vector<Fields> analysed(const QString& path)
{
    const QStringList& names = analyserFields();
    QStringList arguments{QStringLiteral("-n"),          QStringLiteral("-r"),     path,
                          QStringLiteral("-T"),          QStringLiteral("fields"), QStringLiteral("-E"),
                          QStringLiteral("occurrence=f")};
    for (const char* protocol : {"usbhid", "usbvideo", "usbaudio", "usbcom", "usbms"})
        arguments << QStringLiteral("--disable-protocol") << QLatin1String(protocol);
    for (const QString& name : names)
        arguments << QStringLiteral("-e") << name;
    QProcess process;
    process.start(QStringLiteral("tshark"), arguments);
    process.waitForFinished(120000);
    std::vector<Fields> packets;
    for (const QByteArray& line : process.readAllStandardOutput().split('\n')) {
        const QStringList values = QString::fromUtf8(line).split(QLatin1Char('\t'));
        Fields fields;
        for (int field = 0; field < values.size() && values.size() == names.size(); ++field)
            fields[names[field]] = values[field];
        if (!fields.isEmpty())
            packets.push_back(fields);
    }
    return packets;
}

QString hex(quint64 value, int digits)
{
    return QStringLiteral("0x%1").arg(value, digits, 16, QLatin1Char('0'));
}

/// What the analyser ought to print of a packet as we read it. Left out is what we do not keep: a request's status.
Fields expected(const UsbIPPacketInfo& packet, bool windows)
{
    static constexpr std::array<quint8, 4> kTypes{2, 0, 3, 1};
    const auto status = qint32(usbip_header::word(packet.usbipHeader, usbip_header::Status));
    const bool isochronous = packet.transferType == IsochronousTransfer;
    Fields fields;
    fields[QStringLiteral("frame.time_epoch")] =
        QString::number(packet.timestamp / 1000) +
        QStringLiteral(".%1").arg(packet.timestamp % 1000, 3, 10, QLatin1Char('0')) + QStringLiteral("000000");
    const quint8 type = packet.transferType < 4 ? kTypes[packet.transferType] : packet.transferType;
    fields[QStringLiteral("usb.transfer_type")] = hex(type, 2);
    fields[QStringLiteral("usb.endpoint_address")] = hex(packet.endpoint | (packet.direction != 0 ? 0x80 : 0), 2);
    fields[QStringLiteral("usb.bus_id")] = QString::number(packet.deviceId >> 16);
    fields[QStringLiteral("usb.device_address")] = QString::number(packet.deviceId & (windows ? 0xFFFF : 0xFF));
    if (packet.setupData.size() == 8) {
        fields[QStringLiteral("usb.bmRequestType")] = hex(quint8(packet.setupData.at(0)), 2);
        fields[QStringLiteral("usb.setup.bRequest")] = QString::number(quint8(packet.setupData.at(1)));
        fields[QStringLiteral("usb.setup.wLength")] =
            QString::number(qFromLittleEndian<quint16>(packet.setupData.constData() + 6));
    }
    if (windows) {
        fields[QStringLiteral("usb.irp_info.direction")] =
            packet.isRequest ? QStringLiteral("0x00") : QStringLiteral("0x01");
        return fields;
    }
    fields[QStringLiteral("frame.cap_len")] = QString::number(64 + (isochronous ? 16 : 0) + packet.data.size());
    fields[QStringLiteral("usb.urb_type")] = packet.isRequest ? QStringLiteral("'S'") : QStringLiteral("'C'");
    fields[QStringLiteral("usb.urb_len")] = QString::number(carriedLength(packet));
    if (!packet.isRequest)
        fields[QStringLiteral("usb.urb_status")] = QString::number(status);
    fields[QStringLiteral("usb.urb_id")] = hex(quint64(packet.deviceId) << 32 | packet.sequenceNumber, 16);
    return fields;
}

/// One difference a line: "packet 5 usb.urb_len: 18, analyser 20".
QStringList differences(const Packets& packets, const std::vector<Fields>& analysedPackets, const QStringList& leftOut)
{
    QStringList lines;
    for (std::size_t number = 0; number < packets.size() && number < analysedPackets.size(); ++number) {
        const Fields& analysed = analysedPackets[number];
        const bool windows = !analysed.value(QStringLiteral("usb.irp_info.direction")).isEmpty();
        const Fields ours = expected(packets[number], windows);
        for (auto field = ours.begin(); field != ours.end(); ++field) {
            const QString theirs = analysed.value(field.key());
            constexpr int kDevice = 10; // letters of an id up to the end of the device id, which only ours begin with
            const bool isForeignId =
                field.key() == QLatin1String("usb.urb_id") && theirs.left(kDevice) != field.value().left(kDevice);
            if (field.value() != theirs && !isForeignId && !leftOut.contains(field.key()))
                lines << QStringLiteral("packet %1 %2: %3, analyser %4")
                             .arg(number)
                             .arg(field.key(), field.value(), theirs);
        }
    }
    return lines;
}

/// Traffic of devices of all kinds, one after the other, each with an id of its own.
Packets everything()
{
    Packets packets;
    quint32 device = 0x10001;
    for (const QString& kind : tests::SampleTraffic::kinds()) {
        for (UsbIPPacketInfo packet : tests::sessionPackets(kind, 200)) {
            packet.deviceId = device;
            packets.push_back(packet);
        }
        ++device;
    }
    for (const UsbIPPacketInfo& packet : oddPackets())
        packets.push_back(packet);
    return packets;
}

bool writeFile(const QString& path, const Packets& packets)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && tests::writeCapture(file, packets, path);
}

} // namespace

/// Files that the analyser's own tools made of ours, cut, merged and damaged among them: what is read from them beside
/// what the analyser says of them, field by field. docs/guide/capture.md tells where both differ.
class CaptureAnalyserTest : public QObject
{
    Q_OBJECT

private slots:
    void agreesFieldByField_data()
    {
        QTest::addColumn<QString>("form");
        QTest::addColumn<QString>("command"); ///< %1 the file, %2 another one, %3 what becomes of them
        QTest::addColumn<QString>("error");   ///< of reading, %1 a number
        QTest::addColumn<QStringList>("leftOut");
        const auto row = [](const char* name, const char* form, const char* command, const char* error = "",
                            const QStringList& leftOut = {}) {
            QTest::newRow(name) << form << command << error << leftOut;
        };
        row("as written", "a.pcapng", "");
        row("pcap", "a.pcap", "");
        row("Windows", "a.usbpcap", "");
        row("converted to pcap", "a.pcapng", "editcap -F pcap %1 %3");
        row("nanoseconds", "a.pcapng", "editcap -F nsecpcap %1 %3");
        row("a part", "a.pcapng", "editcap -r %1 %3 3-60");
        row("later", "a.pcapng", "editcap -t 3600.5 %1 %3");
        row("merged by time", "a.pcapng", "mergecap -w %3 %1 %2");
        row("one behind the other", "a.pcap", "mergecap -a -F pcap -w %3 %1 %2");
        row("merged forms", "a.usbpcap", "mergecap -a -w %3 %1 %2");
        row("without most of the data", "a.pcapng", "editcap -s 84 %1 %3");
        row("damaged", "a.pcapng", "editcap --seed 5 -E 0.02 %1 %3", "",
            {QStringLiteral("usb.urb_type"), QStringLiteral("frame.cap_len"), QStringLiteral("usb.bmRequestType"),
             QStringLiteral("usb.setup.bRequest"), QStringLiteral("usb.setup.wLength")});
        row("ends within a packet", "a.pcap", "head -c -3 %1", "The file ends within a packet.");
    }

    void agreesFieldByField()
    {
        QFETCH(QString, form);
        QFETCH(QString, command);
        QFETCH(QString, error);
        QFETCH(QStringList, leftOut);
        for (const char* tool : {"tshark", "editcap", "mergecap"}) {
            if (QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty())
                QSKIP("the analyser is not installed");
        }
        QTemporaryDir folder;
        const QString path = folder.filePath(form);
        const QString other = folder.filePath(QStringLiteral("other.pcapng"));
        const QString made = folder.filePath(QStringLiteral("made"));
        QVERIFY(writeFile(path, everything()));
        QVERIFY(writeFile(other, tests::sessionPackets(QStringLiteral("keyboard"), 50)));
        QStringList words = command.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        for (QString& word : words)
            word = word.replace(QLatin1String("%1"), path)
                       .replace(QLatin1String("%2"), other)
                       .replace(QLatin1String("%3"), made);
        if (!words.isEmpty()) {
            QProcess maker;
            if (!command.contains(QLatin1String("%3")))
                maker.setStandardOutputFile(made);
            maker.start(words[0], words.mid(1));
            QVERIFY(maker.waitForFinished());
            QCOMPARE(maker.exitCode(), 0);
        }
        QFile file(words.isEmpty() ? path : made);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const tests::ReadResult result = tests::readCapture(file);
        const Packets packets = tests::transfersOf(result.packets);
        const std::vector<Fields> theirs = analysed(file.fileName());
        QCOMPARE(result.error, error);
        QVERIFY(theirs.size() > 50);
        QCOMPARE(packets.size(), theirs.size());
        const QStringList lines = differences(packets, theirs, leftOut);
        QVERIFY2(lines.isEmpty(), qPrintable(lines.mid(0, 30).join(QLatin1Char('\n'))));
    }
};

PLUGBOARD_SUITE(CaptureAnalyserTest)
#include "capture_analyser_test.moc"
