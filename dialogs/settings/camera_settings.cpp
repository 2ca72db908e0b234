#include "dialogs/settings/camera_settings.h"

#include "devices/camera_limits.h"
#include "devices/parameter_list.h"

#include "dialogs/settings/field_patterns.h"

#include <array>

namespace {

struct FrameFormat
{
    const char* text;
    int codecId;
    int pixelFormat;
};

constexpr int kH264 = 27;
constexpr int kH265 = 173;
constexpr std::array<FrameFormat, 5> kFrameFormats{{
    {"MJPEG", 7, -1},
    {"YUV420P", 0, 0},
    {"NV12", 0, 23},
    {"H264", kH264, -1},
    {"H265", kH265, -1},
}};

const FrameFormat& formatOf(const QString& text)
{
    for (const FrameFormat& format : kFrameFormats)
        if (text == QLatin1String(format.text))
            return format;
    return kFrameFormats.front();
}

bool chooseIpCamera(CameraSettings& settings)
{
    settings.sourceKind = CameraSettings::Source::IpCamera;
    settings.isochronousActive = true;
    return true;
}

const std::vector<SettingRule<CameraSettings>>& rules()
{
    using patterns::isOneLine;
    using patterns::matches;
    static const std::vector<SettingRule<CameraSettings>> all{
        {"source", "a file or URL on one line",
         [](CameraSettings& s, const QString& v) { return take(s.path, sourceFromScript(v), isOneLine(v)); }},
        {"address", "an address on one line",
         [](CameraSettings& s, const QString& v) {
             return take(s.network.address, v, isOneLine(v)) && chooseIpCamera(s);
         }},
        {"port", "a number from 1 to 65535",
         [](CameraSettings& s, const QString& v) {
             return take(s.network.port, v, matches(patterns::kPort, v)) && chooseIpCamera(s);
         }},
        {"resolution", "WIDTHxHEIGHT in pixels, each from 1 to 16384",
         [](CameraSettings& s, const QString& v) { return take(s.resolution, v, matches(patterns::kResolution, v)); }},
        {"rate", "frames a second from 1 to 1000",
         [](CameraSettings& s, const QString& v) { return take(s.frameRate, v, matches(patterns::kFrameRate, v)); }},
        {"format", "MJPEG, YUV420P, NV12, H264 or H265",
         [](CameraSettings& s, const QString& v) { return take(s.frameFormat, v, cameraFrameFormats().contains(v)); }},
        {"uvc", "1.0 or 1.5",
         [](CameraSettings& s, const QString& v) { return take(s.uvcChoice, v, cameraUvcChoices().contains(v)); }},
        {"usb", "2.0 or 3.0",
         [](CameraSettings& s, const QString& v) {
             const QString choice = QStringLiteral("USB") + v;
             return take(s.usbChoice, choice, cameraUsbChoices().contains(choice));
         }},
        {"vid", "0x and one to four hexadecimal digits",
         [](CameraSettings& s, const QString& v) { return take(s.vid, v, matches(patterns::kPrefixedId, v)); }},
        {"pid", "0x and one to four hexadecimal digits",
         [](CameraSettings& s, const QString& v) { return take(s.pid, v, matches(patterns::kPrefixedId, v)); }},
        {"name", "a text on one line, not an empty one",
         [](CameraSettings& s, const QString& v) { return take(s.deviceName, v, patterns::isName(v)); }},
        {"iso", "on or off", [](CameraSettings& s, const QString& v) { return readSwitch(v, s.isochronousActive); }},
    };
    return all;
}

} // namespace

QString CameraSettings::usbVersion() const
{
    return usbChoice == QLatin1String("USB2.0") ? QStringLiteral("0") : QStringLiteral("1");
}

QString CameraSettings::source() const
{
    const bool isStream = sourceKind == Source::IpCamera || sourceKind == Source::DroidCam;
    return isStream ? streamUrl() : path;
}

int CameraSettings::codecId() const
{
    return formatOf(frameFormat).codecId;
}

int CameraSettings::pixelFormat() const
{
    return formatOf(frameFormat).pixelFormat;
}

QString CameraSettings::uvcVersion() const
{
    const bool isFrameBased = codecId() == kH264 || codecId() == kH265;
    return isFrameBased || uvcChoice == QLatin1String("1.5") ? QStringLiteral("0x0150") : QStringLiteral("0x0100");
}

QStringList CameraSettings::parameterList() const
{
    const QLatin1Char by('x');
    return {QStringLiteral("1"),
            vid,
            pid,
            deviceName,
            usbVersion(),
            source(),
            QString::number(codecId()),
            QString::number(pixelFormat()),
            resolution.left(resolution.indexOf(by)),
            resolution.mid(resolution.lastIndexOf(by) + 1),
            frameRate,
            uvcVersion(),
            parameter::flag(isochronousActive),
            QStringLiteral("END")};
}

QStringList cameraResolutions()
{
    return {QStringLiteral("640x480"), QStringLiteral("800x600"), QStringLiteral("1024x768"),
            QStringLiteral("1280x720"), QStringLiteral("1920x1080")};
}

QStringList cameraFrameRates()
{
    return {QStringLiteral("25"), QStringLiteral("30"), QStringLiteral("50"), QStringLiteral("60"),
            QStringLiteral("120")};
}

QStringList cameraFrameFormats()
{
    QStringList texts;
    for (const FrameFormat& format : kFrameFormats)
        texts << QString::fromLatin1(format.text);
    return texts;
}

QStringList cameraUsbChoices()
{
    return {QStringLiteral("USB2.0"), QStringLiteral("USB3.0")};
}

QStringList cameraUvcChoices()
{
    return {QStringLiteral("1.0"), QStringLiteral("1.5")};
}

QStringList cameraSettingNames()
{
    return settingNames(rules());
}

SettingsReading<CameraSettings> cameraSettingsFrom(const QStringList& assignments)
{
    const AssignmentsReading given = readAssignments(assignments, cameraSettingNames());
    if (!given.error.isEmpty())
        return {std::nullopt, given.error};
    SettingsReading<CameraSettings> reading = applyRules(rules(), given.values);
    if (!reading.settings)
        return reading;
    const bool isStream = reading.settings->sourceKind == CameraSettings::Source::IpCamera;
    if (isStream && given.values.contains(QStringLiteral("source")))
        return {std::nullopt, QStringLiteral("'source' does not go with 'address' and 'port'.")};
    if (isStream && !reading.settings->network.isComplete())
        return {std::nullopt, incompleteNetworkText()};
    const QString fault = cameraBusFault(CameraPictures::fromParameters(reading.settings->parameterList()));
    if (!fault.isEmpty())
        return {std::nullopt, fault};
    return reading;
}

QStringList cameraAssignments(const CameraSettings& settings)
{
    Assignments values{{QStringLiteral("resolution"), settings.resolution},
                       {QStringLiteral("rate"), settings.frameRate},
                       {QStringLiteral("format"), settings.frameFormat},
                       {QStringLiteral("uvc"), settings.uvcChoice},
                       {QStringLiteral("usb"), settings.usbChoice.mid(QStringLiteral("USB").size())},
                       {QStringLiteral("vid"), settings.vid},
                       {QStringLiteral("pid"), settings.pid},
                       {QStringLiteral("name"), settings.deviceName},
                       {QStringLiteral("iso"), switchText(settings.isochronousActive)}};
    if (settings.sourceKind == CameraSettings::Source::IpCamera) {
        values.insert(QStringLiteral("address"), settings.network.address);
        values.insert(QStringLiteral("port"), settings.network.port);
    } else {
        values.insert(QStringLiteral("source"), settings.path);
    }
    return readableAssignments(values, &cameraSettingsFrom);
}
