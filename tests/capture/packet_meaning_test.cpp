#include "capture/channel/usbip_header.h"
#include "capture/decode/packet_meaning.h"
#include "tests/capture/captures.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

namespace {

const char kKeyboard[] = "ctl 8006000200002200 "
                         "09022200010100a032 090400000103010100 092111010001223f00 07058103080004\n";
const char kKeyboardReport[] =
    "ctl 8106002200003f00 05010906a101050719e029e7150025017501950881029501750881039505750105081901290591029501750391"
    "039506750815002565050719002965 8100c0\n";
const char kSecurityKey[] =
    "ctl 8006000200002900 "
    "09022900010100a032 090400000203000000 092111010001222200 07058103400005 07050103400005\n"
    "ctl 8106002200002200 06d0f10901a1010920150026ff007508954081020921150026ff00750895409102c0\n";
const char kAttachedScsi[] = "ctl 8006000200005500 "
                             "090255000101008032 090400000208065000 07058102000200 07050202000200 "
                             "090400010408066200 07050202000200 04240100 07058102000200 04240200 "
                             "07058302000200 04240300 07050402000200 04240400\n";
const char kCamera[] = "ctl 8006000200004800 0902480002010080fa 09040000000e010000 "
                       "0d240100010d0080c3c90101 01 09040100000e020000 0e240101350082000200000001 00 "
                       "1a240601010001000000000000000000000000000000000000 00\n";
const char kMicrophone[] = "ctl 8006000200003d00 09023d0002010080fa 090400000001010000 09240100012600 0101 "
                           "090401000001020000 090401010101020000 07240101010100 0b24020101021001 80bb00\n";
/// Of a device whose first configuration is a keyboard.
const char kSecondConfiguration[] = "ctl 8006010200001200 09021200010200a032 090400000008065000\n";
/// Behind an interface with an endpoint: a camera terminal and a processing unit.
const char kUnits[] = "ctl 800600020000ff00 0902000002010080fa 090400000103000000 092111010001223f00 "
                      "07058103080004 09040100000e010000 0d240100015a0080c3c9010102 "
                      "122402010102000000000000000003000000 0b24050201000002000000\n";
const char kFeatureUnit[] = "ctl 8006000200001b00 09021b0001010080fa 090400000001010000 092406020101030000\n";
/// VP8 and H.264, a format and a frame each.
const char kCodecs[] = "ctl 800600020000ff00 0902000001010080fa 09040200000e020000 "
                       "0d241601010100010001000100 "
                       "232417018002e001000000000000000000000000000000000000151605000115160500 342413020101 "
                       "000000000000000000000000000000000000000000000000000000000000000000000000000000000000 "
                       "00000700 302414018002e0010100010042002800000000000000000000000000000000000000000000 "
                       "0000151605000115160500\n";

UsbIPPacketInfo packetOf(const QStringList& words, bool isRequest, quint32 sequence)
{
    UsbIPPacketInfo packet;
    const QByteArray data = QByteArray::fromHex(words.mid(2).join(QString()).toLatin1());
    const QByteArray second = QByteArray::fromHex(words.value(1).toLatin1());
    packet.isRequest = isRequest;
    packet.sequenceNumber = sequence;
    packet.command = isRequest ? usbip_header::Submit : usbip_header::SubmitReply;
    packet.direction = quint8(second.at(0)) >> 7;
    const bool refused = words[0] == QLatin1String("ref");
    if (refused || words[0] == QLatin1String("ctl")) {
        packet.setupData = isRequest ? second : QByteArray();
    } else {
        packet.transferType = words[0] == QLatin1String("int") ? InterruptTransfer : BulkTransfer;
        packet.endpoint = quint8(second.at(0)) & 0x7F;
    }
    if (isRequest == (packet.direction == 0))
        packet.data = data;
    packet.usbipHeader = usbip_header::make(packet, refused ? -32 : 0);
    return packet;
}

std::shared_ptr<PacketStore> storeOf(const QString& traffic)
{
    tests::Packets packets;
    quint32 sequence = 0;
    for (const QString& line : traffic.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        ++sequence;
        const UsbIPPacketInfo request = packetOf(words, true, sequence);
        if (request.transferType == ControlTransfer || request.direction == 0)
            packets.push_back(request);
        if (request.transferType == ControlTransfer || request.direction != 0)
            packets.push_back(packetOf(words, false, sequence));
    }
    return tests::storeOf(packets);
}

QStringList meaningsOf(const QString& traffic)
{
    const auto store = storeOf(traffic);
    SeenDevices seen(store);
    QStringList texts;
    for (std::size_t number = 0; number < store->size(); ++number)
        texts << packetMeaning(store->at(number), seen.contextOf(number)).text;
    return texts;
}

/// "Group/name: value @offset+size" of every row of the last packet.
void addRows(const DetailRow& row, const QString& path, QStringList& lines)
{
    for (const DetailRow& child : row.children) {
        const QString name = path + child.name.trimmed();
        if (!child.value.isEmpty())
            lines
                << QStringLiteral("%1: %2 @%3+%4").arg(name, child.value).arg(child.bytes.offset).arg(child.bytes.size);
        addRows(child, name + QLatin1Char('/'), lines);
    }
}

QStringList rowsOf(const QString& traffic)
{
    const auto store = storeOf(traffic);
    SeenDevices seen(store);
    const std::size_t last = store->size() - 1;
    QStringList lines;
    addRows(packetMeaning(store->at(last), seen.contextOf(last)).rows, QString(), lines);
    return lines;
}

} // namespace

/// Traffic as lines: "ctl SETUP DATA", a request and its reply, "ref SETUP DATA", one that the device refused, or "int
/// 81 DATA" and "blk 02 DATA", the leg of such a transfer that carries data. All of one device.
class PacketMeaningTest : public QObject
{
    Q_OBJECT

private slots:
    void followsWhatWasSeen_data()
    {
        QTest::addColumn<QString>("traffic");
        QTest::addColumn<QString>("last"); ///< texts of the last transfer, or of its one leg
        const auto row = [](const char* name, const QString& traffic, const char* last) {
            QTest::newRow(name) << traffic << last;
        };
        const QString keyboard = QString::fromLatin1(kKeyboard) + QLatin1String(kKeyboardReport);
        row("code 0x01 of a keyboard", keyboard + QLatin1String("ctl a101000100000800 0000040000000000"),
            "HID GET_REPORT|HID GET_REPORT; HID Report: a");
        row("the same code of a camera", QLatin1String(kCamera) + QLatin1String("ctl 2101000101001a00 00"),
            "Video SET_CUR PROBE|Video SET_CUR PROBE");
        row("and of a microphone", QLatin1String(kMicrophone) + QLatin1String("ctl 2201000181000300 80bb00"), "|");
        row("an audio control", QLatin1String(kMicrophone) + QLatin1String("ctl a181000200020200 0000"),
            "Audio GET_CUR unit 2 control 0x02|Audio GET_CUR unit 2 control 0x02");
        row("a unit's control", QLatin1String(kUnits) + QLatin1String("ctl a181000201020200 8000"),
            "Video GET_CUR Processing Unit 2 BRIGHTNESS|Video GET_CUR Processing Unit 2 BRIGHTNESS");
        row("a camera's control", QLatin1String(kUnits) + QLatin1String("ctl 2101000401010400 10000000"),
            "Video SET_CUR Input Terminal 1 EXPOSURE_TIME_ABSOLUTE|Video SET_CUR Input Terminal 1 "
            "EXPOSURE_TIME_ABSOLUTE");
        row("a feature's control", QLatin1String(kFeatureUnit) + QLatin1String("ctl a181000200020200 0000"),
            "Audio GET_CUR Feature Unit 2 VOLUME|Audio GET_CUR Feature Unit 2 VOLUME");
        const QString both = QString::fromLatin1(kKeyboard) + QLatin1String(kSecondConfiguration);
        row("the configuration that was chosen",
            both + QLatin1String("ctl 0009010000000000\nctl a101000100000800 0000040000000000"),
            "HID GET_REPORT|HID GET_REPORT");
        row("another one that was chosen later",
            both + QLatin1String("ctl 0009010000000000\nctl 0009020000000000\nctl a1fe000000000100 00"),
            "Mass Storage GET_MAX_LUN|Mass Storage GET_MAX_LUN");
        row("a configuration that was refused",
            both + QLatin1String("ctl 0009010000000000\nref 0009020000000000\nctl a101000100000800 0000040000000000"),
            "HID GET_REPORT|HID GET_REPORT");
        row("of an interface that nobody told of", QStringLiteral("ctl a101000100000800 00"), "|");
        row("keys", keyboard + QLatin1String("int 81 0200040500000000"), "HID Report: Left Shift, a, b");
        row("no key", keyboard + QLatin1String("int 81 0000000000000000"), "HID Report: all 0");
        row("lights", keyboard + QLatin1String("ctl 2109000200000100 02"),
            "HID SET_REPORT; HID Report: Caps Lock|HID SET_REPORT");
        row("a report that nobody described", QLatin1String(kKeyboard) + QLatin1String("int 81 0200040500000000"), "");
        row("a configuration that comes later",
            QLatin1String("int 81 0200040500000000\n") + keyboard + QLatin1String("int 81 0200040000000000"),
            "HID Report: Left Shift, a");
        row("INIT", QLatin1String(kSecurityKey) + QLatin1String("int 01 ffffffff8600080102030405060708"),
            "CTAPHID INIT");
        row("CBOR", QLatin1String(kSecurityKey) + QLatin1String("int 01 00000001900001 04"),
            "CTAPHID CBOR authenticatorGetInfo");
        row("status of CBOR", QLatin1String(kSecurityKey) + QLatin1String("int 81 00000001900001 2e"),
            "CTAPHID CBOR CTAP2_ERR_NO_CREDENTIALS");
        row("keep-alive", QLatin1String(kSecurityKey) + QLatin1String("int 81 00000001bb0001 02"),
            "CTAPHID KEEPALIVE user presence needed");
        row("continuation", QLatin1String(kSecurityKey) + QLatin1String("int 01 0000000103 aabb"),
            "CTAPHID continuation 3");
        row("command block",
            QLatin1String(kAttachedScsi) +
                QLatin1String("blk 02 55534243010000000010000080000a42000000000800000800000000000000"),
            "BOT Command: UNMAP");
        row("command status", QLatin1String(kAttachedScsi) + QLatin1String("blk 81 55534253010000000000000001"),
            "BOT Status: failed");
        const QString units = QLatin1String(kAttachedScsi) + QLatin1String("ctl 010b010000000000\n");
        row("command unit",
            units + QLatin1String("blk 02 0100000700000000 0000000000000000 28000000000000000800000000000000"),
            "UAS Command IU: READ (10)");
        row("sense unit", units + QLatin1String("blk 81 0300000700000200 0000000000000012 7000"),
            "UAS Sense IU: CHECK CONDITION");
        row("data that look like a unit", units + QLatin1String("blk 83 0300000700000200 0000000000000012"), "");
        const QString unit = QStringLiteral("blk 81 0300000700000200 0000000000000012");
        row("data before the setting was chosen", QLatin1String(kAttachedScsi) + unit, "");
        row("data after the setting was refused",
            QLatin1String(kAttachedScsi) + QLatin1String("ref 010b010000000000\n") + unit, "");
        row("data after the configuration was chosen anew", units + QLatin1String("ctl 0009010000000000\n") + unit, "");
    }

    void followsWhatWasSeen()
    {
        QFETCH(QString, traffic);
        QFETCH(QString, last);
        const QStringList texts = meaningsOf(traffic);
        QCOMPARE(texts.mid(texts.size() - 1 - last.count(QLatin1Char('|'))).join(QLatin1Char('|')), last);
    }

    void descriptorsBecomeRows_data()
    {
        QTest::addColumn<QString>("traffic");
        QTest::addColumn<QStringList>("rows"); ///< some of them
        const auto row = [](const char* name, const QString& traffic, std::initializer_list<const char*> rows) {
            QStringList lines;
            for (const char* line : rows)
                lines << QString::fromUtf8(line);
            QTest::newRow(name) << traffic << lines;
        };
        row("device", QStringLiteral("ctl 8006000100001200 1201100200000040 6b1d02000001 01020301"),
            {"Device Descriptor/bcdUSB: 2.10 @2+2", "Device Descriptor/bDeviceClass: 0x00 (by interface) @4+1",
             "Device Descriptor/bNumConfigurations: 1 @17+1"});
        row("configuration", QLatin1String(kKeyboard),
            {"Configuration Descriptor/wTotalLength: 34 @2+2", "Interface Descriptor/bInterfaceClass: 0x03 (HID) @14+1",
             "HID Descriptor/wDescriptorLength: 63 @25+2", "Endpoint Descriptor/bEndpointAddress: 0x81 (IN) @29+1",
             "Endpoint Descriptor/bmAttributes: 0x03 (interrupt) @30+1"});
        row("string", QStringLiteral("ctl 800602030904ff00 0e034b0065007900620064003100"),
            {"String Descriptor/bString: Keybd1 @2+12"});
        row("BOS", QStringLiteral("ctl 8006000f0000ff00 050f1600 02 07100206000000 0a1003000e00 01 0a ff07"),
            {"BOS Descriptor/bNumDeviceCaps: 2 @4+1", "USB 2.0 Extension/bmAttributes: 0x00000006 @8+4",
             "SuperSpeed USB Device Capability/wU2DevExitLat: 2047 @20+2"});
        row("report", QString::fromLatin1(kKeyboardReport),
            {"HID Report Descriptor/Usage: Keyboard @2+2", "HID Report Descriptor/Input: Data, Variable @20+2",
             "HID Report Descriptor/Usage Maximum: Right GUI @10+2"});
        row("camera", QLatin1String(kCamera),
            {"Video Control Header/dwClockFrequency: 30000000 @25+4", "Video Control Header/baInterfaceNr: 1 @30+1",
             "Video Input Header/bEndpointAddress: 0x82 (IN) @46+1"});
        row("microphone", QLatin1String(kMicrophone),
            {"Audio Control Header/wTotalLength: 38 @23+2", "Audio Streaming General/wFormatTag: 0x0001 (PCM) @50+2",
             "Audio Format Type/tSamFreq: 48000 @60+3"});
        row("codecs", QLatin1String(kCodecs),
            {"VP8 Format/wMaxMBperSec: 1 @29+2", "VP8 Frame/wWidth x wHeight: 640 x 480 @35+4",
             "VP8 Frame/dwFrameInterval: 333333 @62+4",
             "H.264 Format/wMaxMBperSecFourResolutionsFullScalability: 7 @116+2", "H.264 Frame/bLevelIDC: 40 @132+1",
             "H.264 Frame/dwFrameInterval: 333333 @162+4"});
        row("pipes", QLatin1String(kAttachedScsi), {"Pipe Usage Descriptor/bPipeID: 4 (data-out) @83+1"});
        row("probe",
            QLatin1String(kCamera) + QLatin1String("ctl a181000101001a00 "
                                                   "010001021516050000000000000000000000600900000c00 0000"),
            {"Class Request/Interface: Video Streaming, interface 1 @0+0", "Class Request/bFrameIndex: 2 @3+1",
             "Class Request/dwFrameInterval: 333333 @4+4"});
    }

    void descriptorsBecomeRows()
    {
        QFETCH(QString, traffic);
        QFETCH(QStringList, rows);
        const QStringList lines = rowsOf(traffic);
        for (const QString& line : rows)
            QVERIFY2(lines.contains(line),
                     qPrintable(line + QStringLiteral("\nis not in\n") + lines.join(QLatin1Char('\n'))));
    }

    /// Cut at every length, and with each byte made 0 or 255: the rows never point beyond the bytes.
    void damagedBytesAreOnlyShown()
    {
        const QStringList traffics{QLatin1String(kKeyboard),   QLatin1String(kAttachedScsi),   QLatin1String(kCamera),
                                   QLatin1String(kMicrophone), QLatin1String(kKeyboardReport), QLatin1String(kCodecs)};
        for (const QString& traffic : traffics) {
            UsbIPPacketInfo reply = storeOf(traffic)->at(1);
            const PacketContext context{storeOf(traffic)->at(0).setupData, {}, {}, 0, {}};
            const QByteArray whole = reply.data;
            for (int place = 0; place < 3 * whole.size(); ++place) {
                reply.data = place < whole.size() ? whole.left(place) : whole;
                if (place >= whole.size())
                    reply.data[place % whole.size()] = place < 2 * whole.size() ? '\0' : '\xFF';
                const PacketMeaning meaning = packetMeaning(reply, context);
                for (const DetailRow& group : meaning.rows.children) {
                    for (const DetailRow& row : group.children)
                        QVERIFY(row.bytes.offset >= 0 && row.bytes.offset + row.bytes.size <= reply.data.size());
                }
            }
        }
    }
};

PLUGBOARD_SUITE(PacketMeaningTest)
#include "packet_meaning_test.moc"
