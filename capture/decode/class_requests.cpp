#include "capture/decode/class_requests.h"

#include "capture/channel/line_names.h"
#include "capture/decode/field_rows.h"
#include "capture/decode/hex_text.h"

namespace {

using enum FieldForm;

constexpr std::uint8_t kGetReport = 0x01;
constexpr std::uint8_t kSetReport = 0x09;

constexpr NamedNumber kHid[] = {
    {0x01, "GET_REPORT"}, {0x02, "GET_IDLE"}, {0x03, "GET_PROTOCOL"},
    {0x09, "SET_REPORT"}, {0x0A, "SET_IDLE"}, {0x0B, "SET_PROTOCOL"},
};
constexpr NamedNumber kStorage[] = {{0xFE, "GET_MAX_LUN"}, {0xFF, "BULK_ONLY_RESET"}};
constexpr NamedNumber kVideo[] = {
    {0x01, "SET_CUR"}, {0x81, "GET_CUR"}, {0x82, "GET_MIN"},  {0x83, "GET_MAX"},
    {0x84, "GET_RES"}, {0x85, "GET_LEN"}, {0x86, "GET_INFO"}, {0x87, "GET_DEF"},
};
constexpr NamedNumber kStreamingControls[] = {
    {1, "PROBE"},
    {2, "COMMIT"},
    {3, "STILL_PROBE"},
    {4, "STILL_COMMIT"},
    {5, "STILL_IMAGE_TRIGGER"},
    {6, "STREAM_ERROR_CODE"},
    {7, "GENERATE_KEY_FRAME"},
    {8, "UPDATE_FRAME_SEGMENT"},
    {9, "SYNCH_DELAY"},
};
constexpr NamedNumber kDeviceControls[] = {{1, "VIDEO_POWER_MODE"}, {2, "REQUEST_ERROR_CODE"}};
constexpr NamedNumber kAudio1[] = {
    {0x01, "SET_CUR"}, {0x02, "SET_MIN"}, {0x03, "SET_MAX"}, {0x04, "SET_RES"}, {0x05, "SET_MEM"},  {0x81, "GET_CUR"},
    {0x82, "GET_MIN"}, {0x83, "GET_MAX"}, {0x84, "GET_RES"}, {0x85, "GET_MEM"}, {0xFF, "GET_STAT"},
};
constexpr NamedNumber kAudio2[] = {{0x01, "CUR"}, {0x02, "RANGE"}, {0x03, "MEM"}};

constexpr Field kProbe[] = {
    {"bmHint", 2, Hex},
    {"bFormatIndex", 1},
    {"bFrameIndex", 1},
    {"dwFrameInterval", 4},
    {"wKeyFrameRate", 2},
    {"wPFrameRate", 2},
    {"wCompQuality", 2},
    {"wCompWindowSize", 2},
    {"wDelay", 2},
    {"dwMaxVideoFrameSize", 4},
    {"dwMaxPayloadTransferSize", 4},
    {"dwClockFrequency", 4},
    {"bmFramingInfo", 1, Hex},
    {"bPreferedVersion", 1},
    {"bMinVersion", 1},
    {"bMaxVersion", 1},
};

std::uint8_t byteAt(const QByteArray& bytes, int place)
{
    return place < bytes.size() ? static_cast<std::uint8_t>(bytes.at(place)) : std::uint8_t(0);
}

QString withName(const char* className, const char* request)
{
    return request ? QStringLiteral("%1 %2").arg(QLatin1String(className), QLatin1String(request)) : QString();
}

/// The unit and control that a request of video or audio is for.
QString controlText(const QByteArray& setup)
{
    return QStringLiteral(" unit %1 control %2").arg(byteAt(setup, 5)).arg(hexNumber(byteAt(setup, 3), 2));
}

QString videoText(const QByteArray& setup, const InterfaceKind& interface)
{
    const QString text = withName("Video", nameIn<kVideo>(byteAt(setup, 1)));
    const char* control = nullptr;
    if (interface.subclass == usb_class::VideoStreaming)
        control = nameIn<kStreamingControls>(byteAt(setup, 3));
    else if (byteAt(setup, 5) == 0)
        control = nameIn<kDeviceControls>(byteAt(setup, 3));
    if (text.isEmpty())
        return text;
    return text + (control ? QLatin1Char(' ') + QString(QLatin1String(control)) : controlText(setup));
}

QString audioText(const QByteArray& setup, const InterfaceKind& interface)
{
    const std::uint8_t request = byteAt(setup, 1);
    if (interface.protocol != usb_class::kAudioVersion2) {
        const QString text = withName("Audio", nameIn<kAudio1>(request));
        const bool frequency = request_type::recipient(byteAt(setup, 0)) == 2 && byteAt(setup, 3) == 1;
        return text.isEmpty() ? text : text + (frequency ? QStringLiteral(" SAMPLING_FREQ") : controlText(setup));
    }
    const QString text =
        withName(request_type::isIn(byteAt(setup, 0)) ? "Audio GET" : "Audio SET", nameIn<kAudio2>(request));
    return text.isEmpty() ? text : text + controlText(setup);
}

} // namespace

QString classRequestText(const QByteArray& setup, const InterfaceKind& interface)
{
    const std::uint8_t request = byteAt(setup, 1);
    switch (interface.classCode) {
    case usb_class::Hid:
        return withName("HID", nameIn<kHid>(request));
    case usb_class::MassStorage:
        return withName("Mass Storage", nameIn<kStorage>(request));
    case usb_class::Video:
        return videoText(setup, interface);
    case usb_class::Audio:
        return audioText(setup, interface);
    default:
        return {};
    }
}

void addClassRequestData(const QByteArray& setup, const QByteArray& data, const InterfaceKind& interface,
                         DetailRow& parent)
{
    const std::uint8_t control = byteAt(setup, 3);
    const bool isProbe = interface.classCode == usb_class::Video && interface.subclass == usb_class::VideoStreaming &&
                         (control == 1 || control == 2) && data.size() >= 26;
    if (isProbe)
        FieldRows(data, ByteSpan::Part::Data, 0, data.size()).add(parent, kProbe);
}

bool isReportRequest(const QByteArray& setup, const InterfaceKind& interface)
{
    const std::uint8_t request = byteAt(setup, 1);
    return interface.classCode == usb_class::Hid && request_type::type(byteAt(setup, 0)) == 1 &&
           (request == kGetReport || request == kSetReport);
}
