#include "capture/channel/usbip_header.h"
#include "capture/decode/packet_filter.h"
#include "capture/decode/timing_columns.h"
#include "tests/capture/captures.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

namespace {

QByteArray header(qint32 status, quint32 length)
{
    UsbIPPacketInfo reply;
    reply.command = 3;
    reply.transferLength = length;
    return usbip_header::make(reply, status);
}

std::shared_ptr<PacketStore> fivePackets()
{
    tests::Packets packets(5);
    for (quint32 number = 0; number < 5; ++number) {
        packets[number].timestamp = 1700000000000 + 10 * number;
        packets[number].sequenceNumber = 100 + number;
        packets[number].isRequest = number % 2 == 0;
    }
    packets[0].direction = packets[1].direction = 1;
    packets[0].setupData = QByteArray::fromHex("8006000100001200");
    packets[0].parsedDetails = QStringLiteral("INN STD USB_DEVICE_DESCRIPTOR_TYPE");
    packets[1].sequenceNumber = 100;
    packets[1].usbipHeader = header(-32, 0);
    packets[2].transferType = BulkTransfer;
    packets[2].endpoint = 1;
    packets[2].transferLength = 31;
    packets[2].data = QByteArray::fromHex("5553424312010200");
    packets[3].transferType = InterruptTransfer;
    packets[3].endpoint = 1;
    packets[3].direction = 1;
    packets[3].usbipHeader = header(0, 8);
    packets[4].isUnlink = true;
    packets[4].deviceId = 65537;
    packets[4].transferType = InterruptTransfer;
    return tests::storeOf(packets);
}

} // namespace

/// Filters over five packets: 1 a control request, 2 its stalled reply, 3 a bulk request OUT on endpoint 1 with data,
/// 4 an interrupt reply IN on endpoint 1, 5 an unlink command.
class PacketFilterTest : public QObject
{
    Q_OBJECT

private slots:
    void leavesPackets_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("left");
        const auto row = [](const char* filter, const char* left) { QTest::newRow(filter) << filter << left; };
        row("", "12345");
        row("transfer == bulk", "3");
        row("endpoint == 0x81", "4");
        row("endpoint == 1", "34");
        row("endpoint != 0x81 && endpoint == 1", "3");
        row("status != 0", "2");
        row("status == -32 || status == 0", "24");
        row("!(status == 0)", "1235");
        row("not unlink and kind == request", "13");
        row("unlink", "5");
        row("data contains 12 01", "3");
        row("data contains 1201", "3");
        row("data contains \"USBC\"", "3");
        row("data == 55:53:42:43:12:01:02:00", "3");
        row("data contains 01 12", "");
        row("details contains device_desc", "1");
        row("request == 6 && value == 0x0100", "1");
        row("length >= 31 && length < 32", "3");
        row("device == 0x10001", "5");
        row("usb_device", "1");
        row("12 01 02", "3");
        row("USB_DEVICE || \"12 01\"", "13");
        row("epipe", "2");
        row("INT", "45");
        row("nowhere", "");
        row("(transfer == control || transfer == bulk) && kind == request", "13");
    }

    void leavesPackets()
    {
        QFETCH(QString, filter);
        const PacketFilter parsed = parsePacketFilter(filter);
        QCOMPARE(parsed.error, QString());
        PacketReader reader(fivePackets());
        QString left;
        for (std::size_t number = 0; number < 5; ++number) {
            if (!parsed.wants || parsed.wants(reader.read(number)))
                left += QString::number(number + 1);
        }
        QTEST(left, "left");
    }

    void saysWhatIsWrongAndWhere_data()
    {
        QTest::addColumn<QString>("error");
        const auto row = [](const char* filter, const char* error) { QTest::newRow(filter) << error; };
        row("colour == red", "0 There is no field \"colour\"");
        row("transfer == bulky", "12 Expected here: bulk, control, interrupt, isochronous");
        row("status == ", "10 A number is expected here");
        row("status = 0", "7 \"==\" is expected here");
        row("data contains 1", "14 Pairs of hexadecimal digits or a text in quotes are expected here");
        row("data < 12", "5 Bytes and texts are compared with ==, != or contains");
        row("unlink &&", "9 A field or a text is expected here");
        row("(unlink || status == 0", "22 \")\" is missing");
        row("unlink) && unlink", "6 \"&&\" or \"||\" is expected here");
    }

    void saysWhatIsWrongAndWhere()
    {
        const PacketFilter parsed = parsePacketFilter(QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(!parsed.wants);
        QTEST(QStringLiteral("%1 %2").arg(parsed.errorPosition).arg(parsed.error), "error");
    }

    void repliesTellStatusAndTime()
    {
        PacketReader reader(fivePackets());
        QStringList texts;
        for (std::size_t number = 0; number < 4; ++number) {
            for (int column = 0; column < kAnalysisColumnCount; ++column)
                texts << analysisColumnText(reader, 0, number, static_cast<AnalysisColumn>(column));
        }
        QCOMPARE(texts.join(QLatin1Char('|')), QStringLiteral("||||-32 EPIPE|10|10||||10||0||10|"));
    }
};

PLUGBOARD_SUITE(PacketFilterTest)
#include "packet_filter_test.moc"
