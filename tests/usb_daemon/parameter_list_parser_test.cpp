#include "tests/support/suite_registry.h"
#include "tools/usb_daemon/parameter_list_parser.h"

#include <QtTest>

class ParameterListParserTest : public QObject
{
    Q_OBJECT

private slots:
    void readsEveryType_data();
    void readsEveryType();
    void namesTheWrongField_data();
    void namesTheWrongField();
    void refusesListsOfNoType_data();
    void refusesListsOfNoType();
};

namespace {

const char* const kCamera = "1|0x1234|0x5678|UVC Camera|0|/v/a b.mp4|7|-1|1280|720|30|0x0100|0|END";
const char* const kFido2 = "2|0x1234|0x5678|FIDO2 Security Key|1|FIDO2_20260102030405_1234|/f/k.json|1|END";
const char* const kUsbIp = "3|1d6b|0002|USBIP Device|0200|127.0.0.1:3240|1-1|END";
const char* const kMicrophone = "3|1d6b|0002|USB Microphone|1|2.0|0|test_audio.wav|2|48000|1|END";
const char* const kSpeaker = "5|1d6b|0002|Speaker Device|0200|2|44100|END";
const char* const kStorage = "6|1d6b|0002|USB Storage Device|0200|1024|FAT32|END";
const char* const kKeyboard = "7|1d6b|0002|Keyboard Device|0200|104|USB HID|END";

/// A list written with "|" between its fields.
QStringList listOf(const QString& line)
{
    return line.split(QLatin1Char('|'));
}

/// A device on one line: record type code, ids, USB version, name.
QString lineOf(const DeviceDescription& device)
{
    return QStringLiteral("%1 %2:%3 %4 %5")
        .arg(QString::number(int(device.type)), device.vid, device.pid, device.usbVersion, device.name);
}

} // namespace

void ParameterListParserTest::readsEveryType_data()
{
    QTest::addColumn<QString>("list");
    QTest::addColumn<QString>("device");
    const auto addRow = [](const char* name, const char* list, const char* device) {
        QTest::newRow(name) << QString::fromUtf8(list) << QString::fromUtf8(device);
    };
    addRow("camera", kCamera, "1 1234:5678 0200 UVC Camera");
    addRow("camera that has no file yet", "1|0x1|0xAbC||1||0|23|640|480|25|0x0150|1|END", "1 0001:0abc 0300 ");
    addRow("FIDO2 key", kFido2, "2 1234:5678 0300 FIDO2 Security Key");
    addRow("FIDO2 key without a credentials file", "2|0x1|0x2|Schlüssel 鍵|0|S||0|END",
           "2 0001:0002 0200 Schlüssel 鍵");
    addRow("eight fields with code 3 are a USB/IP device", kUsbIp, "5 1d6b:0002 0200 USBIP Device");
    addRow("twelve fields with code 3 are a microphone", kMicrophone, "7 1d6b:0002 0300 USB Microphone");
    addRow("speaker", kSpeaker, "8 1d6b:0002 0200 Speaker Device");
    addRow("storage", kStorage, "6 1d6b:0002 0200 USB Storage Device");
    addRow("keyboard", kKeyboard, "4 1d6b:0002 0200 Keyboard Device");
}

void ParameterListParserTest::readsEveryType()
{
    QFETCH(QString, list);
    QFETCH(QString, device);
    const QStringList fields = splitParameterText(QString(list).replace(QLatin1Char('|'), QLatin1Char('\n')));
    const auto parsed = parseParameterList(fields);
    QCOMPARE(parsed.fault(), QString());
    QCOMPARE(lineOf(parsed.value()), device);
    QCOMPARE(parsed.value().parameters, listOf(list));
}

void ParameterListParserTest::namesTheWrongField_data()
{
    QTest::addColumn<QString>("list");
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("fault");
    const auto addRow = [](const char* name, const char* list, int position, const char* text, const char* fault) {
        QTest::newRow(name) << QString::fromUtf8(list) << position << QString::fromUtf8(text)
                            << QStringLiteral("Field %1 %2.").arg(QString::number(position), QString::fromUtf8(fault));
    };

    addRow("id of five digits", kKeyboard, 1, "12345",
           "(USB vendor id) is \"12345\"; expected one to four hexadecimal digits");
    addRow("id without digits", kKeyboard, 2, "0x",
           "(USB product id) is \"0x\"; expected one to four hexadecimal digits");
    addRow("id with a prefix in capitals", kFido2, 1, "0X12",
           "(USB vendor id) is \"0X12\"; expected one to four hexadecimal digits");
    addRow("id in a foreign script's digits", kCamera, 1, "١٢",
           "(USB vendor id) is \"١٢\"; expected one to four hexadecimal digits");
    addRow("terminal commands in a name", kSpeaker, 3, "a\x1b[2J",
           "(device name) is \"a?[2J\"; expected text without control characters");
    addRow("flag where digits belong", kKeyboard, 4, "0", "(USB version) is \"0\"; expected \"0200\"");
    addRow("digits where a flag belongs", kCamera, 4, "0200",
           "(USB version) is \"0200\"; expected \"0\" for USB 2.0 or \"1\" for USB 3.0");
    addRow("codec as a name", kCamera, 6, "MJPEG", "(codec id) is \"MJPEG\"; expected a number from 0 to 999999");
    addRow("pixel format below -1", kCamera, 7, "-2", "(pixel format id) is \"-2\"; expected a number from -1 to 9999");
    addRow("resolution that was not split", kCamera, 8, "1280x720",
           "(width) is \"1280x720\"; expected a number from 1 to 16384");
    addRow("number with a leading zero", kCamera, 9, "0720", "(height) is \"0720\"; expected a number from 1 to 16384");
    addRow("frame rate zero", kCamera, 10, "0", "(frame rate) is \"0\"; expected a number from 1 to 1000");
    addRow("UVC version without its prefix", kCamera, 11, "0150",
           "(UVC version) is \"0150\"; expected \"0x0100\" or \"0x0150\"");
    addRow("flag as a word", kCamera, 12, "true", "(isochronous active mode) is \"true\"; expected \"0\" or \"1\"");
    addRow("no terminator", kCamera, 13, "", "(terminator) is \"\"; expected \"END\"");
    addRow("serial that leads out of its folder", kFido2, 5, "../x",
           "(serial number) is \"../x\"; expected text that can be part of a file name");
    addRow("no serial", kFido2, 5, "", "(serial number) is \"\"; expected text that can be part of a file name");
    addRow("PIN support unknown", kFido2, 7, "2", "(PIN support) is \"2\"; expected \"0\" or \"1\"");
    addRow("server without a port", kUsbIp, 5, "127.0.0.1",
           "(server) is \"127.0.0.1\"; expected an IPv4 address, \":\" and a port");
    addRow("server by name", kUsbIp, 5, "localhost:3240",
           "(server) is \"localhost:3240\"; expected an IPv4 address, \":\" and a port");
    addRow("address out of range", kUsbIp, 5, "127.0.0.256:3240",
           "(server) is \"127.0.0.256:3240\"; expected an IPv4 address, \":\" and a port");
    addRow("port out of range", kUsbIp, 5, "127.0.0.1:65536",
           "(server) is \"127.0.0.1:65536\"; expected an IPv4 address, \":\" and a port");
    addRow("bus id without a port", kUsbIp, 6, "1", "(bus id) is \"1\"; expected a bus id such as \"1-1\"");
    addRow("UAC version as it is shown", kMicrophone, 5, "UAC 1.0",
           "(UAC version) is \"UAC 1.0\"; expected \"1.0\" or \"2.0\"");
    addRow("real-time mode empty", kMicrophone, 6, "", "(real-time mode) is \"\"; expected \"0\" or \"1\"");
    addRow("microphone without a source", kMicrophone, 7, "", "(source) is \"\"; expected a file path or URL");
    addRow("nine channels", kMicrophone, 8, "9", "(channels) is \"9\"; expected a number from 1 to 8");
    addRow("number behind a space", kMicrophone, 9, " 48000",
           "(sample rate) is \" 48000\"; expected a number from 8000 to 192000");
    addRow("number behind a sign", kSpeaker, 6, "+44100",
           "(sample rate) is \"+44100\"; expected a number from 8000 to 192000");
    addRow("number beyond 32 bits", kStorage, 5, "4294967297",
           "(size) is \"4294967297\"; expected a number from 1 to 1048576");
    addRow("file system unknown", kStorage, 6, "ext4", "(file system) is \"ext4\"; expected \"FAT32\"");
    addRow("no keys", kKeyboard, 5, "0", "(key count) is \"0\"; expected a number from 1 to 255");
    addRow("carriage return behind the last field", kKeyboard, 7, "END\r",
           "(terminator) is \"END?\"; expected \"END\"");
}

void ParameterListParserTest::namesTheWrongField()
{
    QFETCH(QString, list);
    QFETCH(int, position);
    QFETCH(QString, text);
    QFETCH(QString, fault);
    QStringList fields = listOf(list);
    fields[position] = text;
    QCOMPARE(parseParameterList(fields).fault(), fault);
}

void ParameterListParserTest::refusesListsOfNoType_data()
{
    QTest::addColumn<QString>("list");
    QTest::addColumn<QString>("fault");
    const QString code =
        QStringLiteral("Field 0 (device code) is \"%1\"; expected \"1\", \"2\", \"3\", \"5\", \"6\" or \"7\".");
    const auto addRow = [](const char* name, const QString& list, const QString& fault) {
        QTest::newRow(name) << list << fault;
    };
    addRow("empty text", QString(), code.arg(QString()));
    addRow("code that no device has", QStringLiteral("4|1d6b|0002|x|0200|END"), code.arg(QLatin1Char('4')));
    addRow("random bytes do not flood the terminal", QString(500, QLatin1Char('x')),
           code.arg(QString(60, QLatin1Char('x')) + QStringLiteral("...")));
    addRow("field missing", QStringLiteral("7|1d6b|0002|x|0200|104|END"),
           QStringLiteral("The list has 7 fields; expected 8 for a keyboard."));
    addRow("line feed behind the terminator", QLatin1String(kCamera) + QStringLiteral("|"),
           QStringLiteral("The list has 15 fields; expected 14 for a camera."));
    addRow("neither of the two devices with code 3", QStringLiteral("3|1d6b|0002|x|0200|127.0.0.1:3240|END"),
           QStringLiteral("The list has 7 fields; expected 8 for a USB/IP device or 12 for a microphone."));
}

void ParameterListParserTest::refusesListsOfNoType()
{
    QFETCH(QString, list);
    QFETCH(QString, fault);
    QCOMPARE(parseParameterList(listOf(list)).fault(), fault);
}

PLUGBOARD_SUITE(ParameterListParserTest)
#include "parameter_list_parser_test.moc"
