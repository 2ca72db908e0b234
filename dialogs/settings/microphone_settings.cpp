#include "dialogs/settings/microphone_settings.h"

#include "devices/parameter_list.h"

#include "dialogs/settings/field_patterns.h"

#include <QCoreApplication>

namespace {

constexpr int kIdLength = 4;

struct FaultTexts
{
    Q_DECLARE_TR_FUNCTIONS(FaultTexts)
};

const std::vector<SettingRule<MicrophoneSettings>>& rules()
{
    using Settings = MicrophoneSettings;
    using patterns::isOneLine;
    using patterns::matches;
    static const std::vector<SettingRule<Settings>> all{
        {"source", "a file or URL on one line",
         [](Settings& s, const QString& v) { return take(s.path, sourceFromScript(v), isOneLine(v)); }},
        {"address", "an address on one line",
         [](Settings& s, const QString& v) {
             s.isNetwork = true;
             return take(s.network.address, v, isOneLine(v));
         }},
        {"port", "a number from 1 to 65535",
         [](Settings& s, const QString& v) {
             s.isNetwork = true;
             return take(s.network.port, v, matches(patterns::kPort, v));
         }},
        {"usb", "2.0 or 3.0",
         [](Settings& s, const QString& v) {
             s.usbVersion = v == QLatin1String("3.0") ? QStringLiteral("1") : QStringLiteral("0");
             return v == QLatin1String("2.0") || v == QLatin1String("3.0");
         }},
        {"uac", "1.0 or 2.0",
         [](Settings& s, const QString& v) {
             if (v == QLatin1String("2.0"))
                 s.usbVersion = QStringLiteral("1");
             return take(s.uacVersion, v, v == QLatin1String("1.0") || v == QLatin1String("2.0"));
         }},
        {"realtime", "on or off", [](Settings& s, const QString& v) { return readSwitch(v, s.realTime); }},
        {"loop", "on or off", [](Settings& s, const QString& v) { return readSwitch(v, s.loop); }},
        {"vid", "four hexadecimal digits",
         [](Settings& s, const QString& v) { return take(s.vid, v, matches(patterns::kPlainId, v)); }},
        {"pid", "four hexadecimal digits",
         [](Settings& s, const QString& v) { return take(s.pid, v, matches(patterns::kPlainId, v)); }},
        {"name", "a text on one line, not an empty one",
         [](Settings& s, const QString& v) { return take(s.deviceName, v, patterns::isName(v)); }},
    };
    return all;
}

/// What the dialog's fields rule out by locking each other; empty when the settings go together.
QString conflictIn(const MicrophoneSettings& settings, const Assignments& given)
{
    if (settings.isNetwork && given.contains(QStringLiteral("source")))
        return QStringLiteral("'source' does not go with 'address' and 'port'.");
    if (settings.isNetwork && settings.uacVersion == QLatin1String("2.0"))
        return QStringLiteral("A source in the network has UAC 1.0.");
    if (settings.uacVersion == QLatin1String("2.0") && given.value(QStringLiteral("usb")) == QLatin1String("2.0"))
        return QStringLiteral("UAC 2.0 needs USB 3.0.");
    if (settings.isNetwork && !settings.network.isComplete())
        return incompleteNetworkText();
    return textOf(settings.findFault());
}

} // namespace

QString MicrophoneSettings::source() const
{
    return isNetwork ? network.url(QStringLiteral("audio.aac")) : path;
}

QStringList MicrophoneSettings::parameterList() const
{
    return {QStringLiteral("3"),
            vid,
            pid,
            deviceName,
            usbVersion,
            uacVersion,
            parameter::flag(realTime),
            source(),
            QString::number(channels),
            QString::number(sampleRate),
            parameter::flag(loop),
            QStringLiteral("END")};
}

MicrophoneSettings::Fault MicrophoneSettings::findFault() const
{
    if (isNetwork)
        return Fault::None;
    if (vid.size() != kIdLength)
        return Fault::Vid;
    if (pid.size() != kIdLength)
        return Fault::Pid;
    if (deviceName.isEmpty())
        return Fault::DeviceName;
    return path.isEmpty() ? Fault::Path : Fault::None;
}

QString textOf(MicrophoneSettings::Fault fault)
{
    switch (fault) {
    case MicrophoneSettings::Fault::Vid:
        return FaultTexts::tr("Please enter a valid 4-digit USB VID.");
    case MicrophoneSettings::Fault::Pid:
        return FaultTexts::tr("Please enter a valid 4-digit USB PID.");
    case MicrophoneSettings::Fault::DeviceName:
        return FaultTexts::tr("Please enter a device name.");
    case MicrophoneSettings::Fault::Path:
        return FaultTexts::tr("Please select an audio file.");
    case MicrophoneSettings::Fault::None:
        break;
    }
    return {};
}

QStringList microphoneSampleRates(int channels)
{
    constexpr int kManyChannels = 5;
    if (channels >= kManyChannels)
        return {QStringLiteral("44100"), QStringLiteral("48000"), QStringLiteral("96000")};
    return {QStringLiteral("8000"),  QStringLiteral("11025"), QStringLiteral("16000"),
            QStringLiteral("22050"), QStringLiteral("32000"), QStringLiteral("44100"),
            QStringLiteral("48000"), QStringLiteral("96000"), QStringLiteral("192000")};
}

QStringList microphoneSettingNames()
{
    return settingNames(rules());
}

SettingsReading<MicrophoneSettings> microphoneSettingsFrom(const QStringList& assignments)
{
    const AssignmentsReading given = readAssignments(assignments, microphoneSettingNames());
    if (!given.error.isEmpty())
        return {std::nullopt, given.error};
    SettingsReading<MicrophoneSettings> reading = applyRules(rules(), given.values);
    if (!reading.settings)
        return reading;
    const QString conflict = conflictIn(*reading.settings, given.values);
    if (!conflict.isEmpty())
        return {std::nullopt, conflict};
    return reading;
}

QStringList microphoneAssignments(const MicrophoneSettings& settings)
{
    const QString usb = settings.usbVersion == QLatin1String("1") ? QStringLiteral("3.0") : QStringLiteral("2.0");
    Assignments values{{QStringLiteral("usb"), usb},
                       {QStringLiteral("uac"), settings.uacVersion},
                       {QStringLiteral("realtime"), switchText(settings.realTime)},
                       {QStringLiteral("loop"), switchText(settings.loop)},
                       {QStringLiteral("vid"), settings.vid},
                       {QStringLiteral("pid"), settings.pid},
                       {QStringLiteral("name"), settings.deviceName}};
    if (settings.isNetwork) {
        values.insert(QStringLiteral("address"), settings.network.address);
        values.insert(QStringLiteral("port"), settings.network.port);
    } else {
        values.insert(QStringLiteral("source"), settings.path);
    }
    return readableAssignments(values, &microphoneSettingsFrom);
}
