#include "app/device_settings.h"

#include "dialogs/camera_settings.h"
#include "dialogs/microphone_settings.h"

namespace {

template<typename Settings>
ScriptedParameters listOf(const SettingsReading<Settings>& reading)
{
    if (!reading.settings)
        return {{}, reading.error};
    return {reading.settings->parameterList(), {}};
}

} // namespace

ScriptedParameters scriptedParameters(DeviceType type, const QStringList& assignments)
{
    if (type == DeviceType::Camera)
        return listOf(cameraSettingsFrom(assignments));
    if (type == DeviceType::Microphone)
        return listOf(microphoneSettingsFrom(assignments));
    return {{}, QStringLiteral("A device of type '%1' has no settings to give.").arg(deviceTypeWord(type))};
}

QString settingsHelp()
{
    const auto line = [](DeviceType type, const QStringList& names) {
        return QStringLiteral("%1 has %2").arg(deviceTypeWord(type), names.join(QStringLiteral(", ")));
    };
    return line(DeviceType::Camera, cameraSettingNames()) + QStringLiteral("; ") +
           line(DeviceType::Microphone, microphoneSettingNames());
}
