#include "emulation/message/parameter_list_parser.h"

#include "devices/parameter_list.h"

#include <QHostAddress>
#include <QRegularExpression>

#include <algorithm>
#include <vector>

namespace {

constexpr int kLongestQuote = 60;

/// What one field must hold, and how that is said to the user.
struct FieldRule
{
    const char* meaning;
    const char* expected;
    bool (*holds)(const QString&);
};

/// Fields of one kind of device between the device code and "END".
struct DeviceRule
{
    const char* code;
    const char* noun;
    DeviceType type;
    std::vector<FieldRule> fields;

    int fieldCount() const { return int(fields.size()) + 2; }
};

bool matches(const QString& text, const char* pattern)
{
    static const QString anchored = QStringLiteral("\\A(?:%1)\\z");
    return QRegularExpression(anchored.arg(QLatin1String(pattern))).match(text).hasMatch();
}

template<int Lowest, int Highest>
bool isNumber(const QString& text)
{
    if (!matches(text, "0|-?[1-9][0-9]{0,8}"))
        return false;
    const int number = text.toInt();
    return number >= Lowest && number <= Highest;
}

bool isHexId(const QString& text)
{
    return matches(text.trimmed(), "(0x)?[0-9A-Fa-f]{1,4}");
}

bool isPlainText(const QString& text)
{
    return std::none_of(text.begin(), text.end(), [](QChar c) { return c.category() == QChar::Other_Control; });
}

bool isFilledText(const QString& text)
{
    return !text.isEmpty() && isPlainText(text);
}

/// Files are named after it.
bool isSerialNumber(const QString& text)
{
    return isFilledText(text) && !text.contains(QLatin1Char('/')) && !text.contains(QLatin1Char('\\'));
}

bool isFlag(const QString& text)
{
    return matches(text, "[01]");
}

bool isServer(const QString& text)
{
    const int colon = text.indexOf(QLatin1Char(':'));
    const QString address = text.left(colon);
    return matches(address, "[0-9]{1,3}(\\.[0-9]{1,3}){3}") && !QHostAddress(address).isNull() &&
           isNumber<1, 65535>(text.mid(colon + 1));
}

const FieldRule kVid{"USB vendor id", "one to four hexadecimal digits", isHexId};
const FieldRule kPid{"USB product id", "one to four hexadecimal digits", isHexId};
const FieldRule kName{"device name", "text without control characters", isPlainText};
const FieldRule kUsbFlag{"USB version", "\"0\" for USB 2.0 or \"1\" for USB 3.0", isFlag};
const FieldRule kUsbBcd{"USB version", "\"0200\"", [](const QString& text) { return matches(text, "0200"); }};
const FieldRule kChannels{"channels", "a number from 1 to 8", isNumber<1, 8>};
const FieldRule kSampleRate{"sample rate", "a number from 8000 to 192000", isNumber<8000, 192000>};

FieldRule flag(const char* meaning)
{
    return {meaning, "\"0\" or \"1\"", isFlag};
}

std::vector<DeviceRule> makeDeviceRules()
{
    return {
        {"1",
         "a camera",
         DeviceType::Camera,
         {kVid,
          kPid,
          kName,
          kUsbFlag,
          {"source", "a file path or URL", isPlainText},
          {"codec id", "a number from 0 to 999999", isNumber<0, 999999>},
          {"pixel format id", "a number from -1 to 9999", isNumber<-1, 9999>},
          {"width", "a number from 1 to 16384", isNumber<1, 16384>},
          {"height", "a number from 1 to 16384", isNumber<1, 16384>},
          {"frame rate", "a number from 1 to 1000", isNumber<1, 1000>},
          {"UVC version", "\"0x0100\" or \"0x0150\"",
           [](const QString& text) { return matches(text, "0x0100|0x0150"); }},
          flag("isochronous active mode")}},
        {"2",
         "a FIDO2 key",
         DeviceType::Fido2,
         {kVid,
          kPid,
          kName,
          kUsbFlag,
          {"serial number", "text that can be part of a file name", isSerialNumber},
          {"credentials file", "a file path", isPlainText},
          flag("PIN support")}},
        {"3",
         "a USB/IP device",
         DeviceType::UsbIp,
         {kVid,
          kPid,
          kName,
          kUsbBcd,
          {"server", "an IPv4 address, \":\" and a port", isServer},
          {"bus id", "a bus id such as \"1-1\"",
           [](const QString& text) { return matches(text, "[0-9]{1,3}-[0-9]{1,3}(\\.[0-9]{1,3}){0,6}"); }}}},
        {"3",
         "a microphone",
         DeviceType::Microphone,
         {kVid,
          kPid,
          kName,
          kUsbFlag,
          {"UAC version", "\"1.0\" or \"2.0\"", [](const QString& text) { return matches(text, "[12]\\.0"); }},
          flag("real-time mode"),
          {"source", "a file path or URL", isFilledText},
          kChannels,
          kSampleRate,
          flag("loop playback")}},
        {"5", "a speaker", DeviceType::Speaker, {kVid, kPid, kName, kUsbBcd, kChannels, kSampleRate}},
        {"6",
         "a storage device",
         DeviceType::Storage,
         {kVid,
          kPid,
          kName,
          kUsbBcd,
          {"size", "a number from 1 to 1048576", isNumber<1, 1048576>},
          {"file system", "\"FAT32\"", [](const QString& text) { return matches(text, "FAT32"); }}}},
        {"7",
         "a keyboard",
         DeviceType::Keyboard,
         {kVid,
          kPid,
          kName,
          kUsbBcd,
          {"key count", "\"104\"", isNumber<104, 104>},
          {"protocol", "\"USB HID\"", [](const QString& text) { return matches(text, "USB HID"); }}}},
    };
}

const std::vector<DeviceRule>& deviceRules()
{
    static const std::vector<DeviceRule> rules = makeDeviceRules();
    return rules;
}

/// The text as it may stand in a sentence on a terminal: short, without control characters.
QString quoted(QString text)
{
    std::replace_if(
        text.begin(), text.end(), [](QChar c) { return !c.isPrint() && !c.isSurrogate(); }, QLatin1Char('?'));
    if (text.size() > kLongestQuote)
        text = text.left(kLongestQuote) + QStringLiteral("...");
    return QLatin1Char('"') + text + QLatin1Char('"');
}

Fault wrongField(int position, const char* meaning, const QString& text, const QString& expected)
{
    return Fault{QStringLiteral("Field %1 (%2) is %3; expected %4.")
                     .arg(QString::number(position), QLatin1String(meaning), quoted(text), expected)};
}

Fault wrongFieldCount(const std::vector<const DeviceRule*>& candidates, int count)
{
    QStringList expected;
    for (const DeviceRule* rule : candidates)
        expected << QStringLiteral("%1 for %2").arg(rule->fieldCount()).arg(QLatin1String(rule->noun));
    return Fault{
        QStringLiteral("The list has %1 fields; expected %2.").arg(count).arg(expected.join(QStringLiteral(" or ")))};
}

Outcome<const DeviceRule*> findRule(const QStringList& fields)
{
    std::vector<const DeviceRule*> candidates;
    for (const DeviceRule& rule : deviceRules())
        if (fields.value(0) == QLatin1String(rule.code))
            candidates.push_back(&rule);
    if (candidates.empty())
        return wrongField(0, "device code", fields.value(0),
                          QStringLiteral("\"1\", \"2\", \"3\", \"5\", \"6\" or \"7\""));
    for (const DeviceRule* rule : candidates)
        if (rule->fieldCount() == fields.size())
            return rule;
    return wrongFieldCount(candidates, fields.size());
}

/// Four lower-case digits of an id that isHexId() accepted.
QString canonicalId(const QString& text)
{
    return QString::number(text.trimmed().toUInt(nullptr, 16), 16).rightJustified(4, QLatin1Char('0'));
}

QString canonicalUsbVersion(const QString& text)
{
    if (text.size() > 1)
        return text;
    return text == QLatin1String("0") ? QStringLiteral("0200") : QStringLiteral("0300");
}

} // namespace

DeviceDescription mouseDescription()
{
    return {DeviceType::Mouse,      QStringLiteral("Mouse Device"), QStringLiteral("1d6b"),
            QStringLiteral("0002"), QStringLiteral("0200"),         {}};
}

Outcome<DeviceDescription> parseParameterList(const QStringList& fields)
{
    const auto rule = findRule(fields);
    if (!rule)
        return Fault{rule.fault()};
    int position = 0;
    for (const FieldRule& field : rule.value()->fields) {
        const QString& text = fields.at(++position);
        if (!field.holds(text))
            return wrongField(position, field.meaning, text, QLatin1String(field.expected));
    }
    if (fields.last() != QLatin1String("END"))
        return wrongField(position + 1, "terminator", fields.last(), QStringLiteral("\"END\""));
    return DeviceDescription{rule.value()->type,
                             fields.at(parameter::Name),
                             canonicalId(fields.at(parameter::Vid)),
                             canonicalId(fields.at(parameter::Pid)),
                             canonicalUsbVersion(fields.at(parameter::UsbVersion)),
                             fields};
}
