#include "capture/decode/class_requests.h"

#include "capture/channel/line_names.h"
#include "capture/decode/descriptor_forms.h"
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
constexpr NamedNumber kCameraControls[] = {
    {1, "SCANNING_MODE"},
    {2, "AE_MODE"},
    {3, "AE_PRIORITY"},
    {4, "EXPOSURE_TIME_ABSOLUTE"},
    {5, "EXPOSURE_TIME_RELATIVE"},
    {6, "FOCUS_ABSOLUTE"},
    {7, "FOCUS_RELATIVE"},
    {8, "FOCUS_AUTO"},
    {9, "IRIS_ABSOLUTE"},
    {10, "IRIS_RELATIVE"},
    {11, "ZOOM_ABSOLUTE"},
    {12, "ZOOM_RELATIVE"},
    {13, "PANTILT_ABSOLUTE"},
    {14, "PANTILT_RELATIVE"},
    {15, "ROLL_ABSOLUTE"},
    {16, "ROLL_RELATIVE"},
    {17, "PRIVACY"},
    {18, "FOCUS_SIMPLE"},
    {19, "WINDOW"},
    {20, "REGION_OF_INTEREST"},
};
constexpr NamedNumber kSelectorControls[] = {{1, "INPUT_SELECT"}};
constexpr NamedNumber kProcessingControls[] = {
    {1, "BACKLIGHT_COMPENSATION"},
    {2, "BRIGHTNESS"},
    {3, "CONTRAST"},
    {4, "GAIN"},
    {5, "POWER_LINE_FREQUENCY"},
    {6, "HUE"},
    {7, "SATURATION"},
    {8, "SHARPNESS"},
    {9, "GAMMA"},
    {10, "WHITE_BALANCE_TEMPERATURE"},
    {11, "WHITE_BALANCE_TEMPERATURE_AUTO"},
    {12, "WHITE_BALANCE_COMPONENT"},
    {13, "WHITE_BALANCE_COMPONENT_AUTO"},
    {14, "DIGITAL_MULTIPLIER"},
    {15, "DIGITAL_MULTIPLIER_LIMIT"},
    {16, "HUE_AUTO"},
    {17, "ANALOG_VIDEO_STANDARD"},
    {18, "ANALOG_LOCK_STATUS"},
    {19, "CONTRAST_AUTO"},
};
constexpr NamedNumber kFeatureControls1[] = {
    {1, "MUTE"},           {2, "VOLUME"}, {3, "BASS"},       {4, "MID"},       {5, "TREBLE"}, {6, "GRAPHIC_EQUALIZER"},
    {7, "AUTOMATIC_GAIN"}, {8, "DELAY"},  {9, "BASS_BOOST"}, {10, "LOUDNESS"},
};
constexpr NamedNumber kFeatureControls2[] = {
    {1, "MUTE"},
    {2, "VOLUME"},
    {3, "BASS"},
    {4, "MID"},
    {5, "TREBLE"},
    {6, "GRAPHIC_EQUALIZER"},
    {7, "AUTOMATIC_GAIN"},
    {8, "DELAY"},
    {9, "BASS_BOOST"},
    {10, "LOUDNESS"},
    {11, "INPUT_GAIN"},
    {12, "INPUT_GAIN_PAD"},
    {13, "PHASE_INVERTER"},
    {14, "UNDERFLOW"},
    {15, "OVERFLOW"},
    {16, "LATENCY"},
};
constexpr NamedNumber kClockControls[] = {{1, "SAM_FREQ"}, {2, "CLOCK_VALID"}};
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

const char* videoControl(const UnitKind& unit, std::uint8_t control)
{
    constexpr std::uint16_t kCamera = 0x0201;
    if (unit.subtype == 2 && unit.terminal == kCamera)
        return nameIn<kCameraControls>(control);
    if (unit.subtype == 4)
        return nameIn<kSelectorControls>(control);
    return unit.subtype == 5 ? nameIn<kProcessingControls>(control) : nullptr;
}

const char* audioControl(const UnitKind& unit, std::uint8_t control, const InterfaceKind& interface)
{
    const bool second = interface.protocol == usb_class::kAudioVersion2;
    if (unit.subtype == 6)
        return second ? nameIn<kFeatureControls2>(control) : nameIn<kFeatureControls1>(control);
    return second && unit.subtype == 10 ? nameIn<kClockControls>(control) : nullptr;
}

/// The unit and control that a request of video or audio is for: " Processing Unit 2 BRIGHTNESS".
QString controlText(const QByteArray& setup, const InterfaceKind& interface, const std::optional<UnitKind>& unit)
{
    constexpr int kClassName = 6; // letters of "Video " and "Audio ", which stand before the request
    const bool video = interface.classCode == usb_class::Video;
    const std::uint8_t code = byteAt(setup, 3);
    const DescriptorForm* form = nullptr;
    const char* control = nullptr;
    if (unit) {
        form = (video ? videoForm : audioForm)(descriptor_type::ClassInterface, unit->subtype, interface);
        control = video ? videoControl(*unit, code) : audioControl(*unit, code, interface);
    }
    const QString name = form ? QString::fromLatin1(form->name).mid(kClassName) : QStringLiteral("unit");
    const QString what = control ? QString::fromLatin1(control) : QStringLiteral("control %1").arg(hexNumber(code, 2));
    return QStringLiteral(" %1 %2 %3").arg(name).arg(byteAt(setup, 5)).arg(what);
}

QString videoText(const QByteArray& setup, const InterfaceKind& interface, const std::optional<UnitKind>& unit)
{
    const QString text = withName("Video", nameIn<kVideo>(byteAt(setup, 1)));
    const char* control = nullptr;
    if (interface.subclass == usb_class::VideoStreaming)
        control = nameIn<kStreamingControls>(byteAt(setup, 3));
    else if (byteAt(setup, 5) == 0)
        control = nameIn<kDeviceControls>(byteAt(setup, 3));
    if (text.isEmpty())
        return text;
    return text + (control ? QLatin1Char(' ') + QString(QLatin1String(control)) : controlText(setup, interface, unit));
}

QString audioText(const QByteArray& setup, const InterfaceKind& interface, const std::optional<UnitKind>& unit)
{
    const std::uint8_t request = byteAt(setup, 1);
    if (interface.protocol != usb_class::kAudioVersion2) {
        const QString text = withName("Audio", nameIn<kAudio1>(request));
        const bool frequency = request_type::recipient(byteAt(setup, 0)) == 2 && byteAt(setup, 3) == 1;
        return text.isEmpty()
                   ? text
                   : text + (frequency ? QStringLiteral(" SAMPLING_FREQ") : controlText(setup, interface, unit));
    }
    const QString text =
        withName(request_type::isIn(byteAt(setup, 0)) ? "Audio GET" : "Audio SET", nameIn<kAudio2>(request));
    return text.isEmpty() ? text : text + controlText(setup, interface, unit);
}

} // namespace

QString classRequestText(const QByteArray& setup, const InterfaceKind& interface, const std::optional<UnitKind>& unit)
{
    const std::uint8_t request = byteAt(setup, 1);
    switch (interface.classCode) {
    case usb_class::Hid:
        return withName("HID", nameIn<kHid>(request));
    case usb_class::MassStorage:
        return withName("Mass Storage", nameIn<kStorage>(request));
    case usb_class::Video:
        return videoText(setup, interface, unit);
    case usb_class::Audio:
        return audioText(setup, interface, unit);
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
