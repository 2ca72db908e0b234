#include "devices/parameter_list.h"
#include "emulation/message/parameter_list_parser.h"
#include "tests/support/suite_registry.h"

#include <QRegularExpression>
#include <QtTest>

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

class ParameterListParserTest : public QObject
{
    Q_OBJECT

private slots:
    void readsEveryType_data()
    {
        QTest::addColumn<QString>("list");
        QTest::addColumn<QString>("device");
        const auto addRow = [](const char* name, const char* list, const char* device) {
            QTest::newRow(name) << QString::fromUtf8(list) << QString::fromUtf8(device);
        };
        addRow("camera", kCamera, "1 1234:5678 0200 UVC Camera");
        addRow("camera that has no file yet", "1|0x1|0xAbC||1||0|23|640|480|25|0x0150|1|END", "1 0001:0abc 0300 ");
        addRow("ids as typed, with blanks around them", "1| 0x12 |0xAbC ||1||0|23|640|480|25|0x0150|1|END",
               "1 0012:0abc 0300 ");
        addRow("FIDO2 key", kFido2, "2 1234:5678 0300 FIDO2 Security Key");
        addRow("FIDO2 key without a credentials file", "2|0x1|0x2|Schlüssel 鍵|0|S||0|END",
               "2 0001:0002 0200 Schlüssel 鍵");
        addRow("eight fields with code 3 are a USB/IP device", kUsbIp, "5 1d6b:0002 0200 USBIP Device");
        addRow("twelve fields with code 3 are a microphone", kMicrophone, "7 1d6b:0002 0300 USB Microphone");
        addRow("speaker", kSpeaker, "8 1d6b:0002 0200 Speaker Device");
        addRow("storage", kStorage, "6 1d6b:0002 0200 USB Storage Device");
        addRow("keyboard", kKeyboard, "4 1d6b:0002 0200 Keyboard Device");
    }

    void readsEveryType()
    {
        QFETCH(QString, list);
        QFETCH(QString, device);
        const QStringList fields = splitParameters(QString(list).replace(QLatin1Char('|'), QLatin1Char('\n')));
        const auto parsed = parseParameterList(fields);
        QCOMPARE(parsed.fault(), QString());
        QCOMPARE(lineOf(parsed.value()), device);
        QCOMPARE(parsed.value().parameters, listOf(list));
    }

    void namesTheWrongField_data()
    {
        QTest::addColumn<QString>("list");
        QTest::addColumn<int>("position");
        QTest::addColumn<QString>("text");
        const auto addRow = [](const char* name, const char* list, int position, const char* text) {
            QTest::newRow(name) << QString::fromUtf8(list) << position << QString::fromUtf8(text);
        };
        addRow("id of five digits", kKeyboard, 1, "12345");
        addRow("id without digits", kKeyboard, 2, "0x");
        addRow("id with a prefix in capitals", kFido2, 1, "0X12");
        addRow("id in a foreign script's digits", kCamera, 1, "١٢");
        addRow("terminal commands in a name", kSpeaker, 3, "a\x1b[2J");
        addRow("flag where digits belong", kKeyboard, 4, "0");
        addRow("digits where a flag belongs", kCamera, 4, "0200");
        addRow("pixel format below -1", kCamera, 7, "-2");
        addRow("resolution that was not split", kCamera, 8, "1280x720");
        addRow("number with a leading zero", kCamera, 9, "0720");
        addRow("UVC version without its prefix", kCamera, 11, "0150");
        addRow("no terminator", kCamera, 13, "");
        addRow("serial that leads out of its folder", kFido2, 5, "../x");
        addRow("no serial", kFido2, 5, "");
        addRow("server without a port", kUsbIp, 5, "127.0.0.1");
        addRow("server by name", kUsbIp, 5, "localhost:3240");
        addRow("address out of range", kUsbIp, 5, "127.0.0.256:3240");
        addRow("port out of range", kUsbIp, 5, "127.0.0.1:65536");
        addRow("bus id without a port", kUsbIp, 6, "1");
        addRow("UAC version as it is shown", kMicrophone, 5, "UAC 1.0");
        addRow("microphone without a source", kMicrophone, 7, "");
        addRow("number behind a space", kMicrophone, 9, " 48000");
        addRow("number behind a sign", kSpeaker, 6, "+44100");
        addRow("number beyond 32 bits", kStorage, 5, "4294967297");
        addRow("carriage return behind the last field", kKeyboard, 7, "END\r");
    }

    void namesTheWrongField()
    {
        QFETCH(QString, list);
        QFETCH(int, position);
        QFETCH(QString, text);
        QStringList fields = listOf(list);
        fields[position] = text;
        const QString fault = parseParameterList(fields).fault();
        const QString shown = text.replace(QRegularExpression(QStringLiteral("[\\x1b\r]")), QStringLiteral("?"));
        const QRegularExpression sentence(QStringLiteral("^Field %1 \\([A-Za-z0-9 -]+\\) is \"%2\"; expected .+\\.$")
                                              .arg(QString::number(position), QRegularExpression::escape(shown)));
        QVERIFY2(sentence.match(fault).hasMatch(), qPrintable(fault));
    }

    void refusesListsOfNoType_data()
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

    void refusesListsOfNoType()
    {
        QFETCH(QString, list);
        QFETCH(QString, fault);
        QCOMPARE(parseParameterList(listOf(list)).fault(), fault);
    }
};

PLUGBOARD_SUITE(ParameterListParserTest)
#include "parameter_list_parser_test.moc"
