#include "app/device_settings.h"

#include "app/fido2_settings.h"
#include "app/secret_values.h"
#include "devices/parameter_list.h"
#include "dialogs/settings/camera_settings.h"
#include "dialogs/settings/microphone_settings.h"
#include "dialogs/settings/network_source.h"

namespace {

template<typename Settings>
ScriptedParameters listOf(const SettingsReading<Settings>& reading)
{
    if (!reading.settings)
        return {{}, reading.error};
    return {reading.settings->parameterList(), {}};
}

} // namespace

QStringList fixedParameters(DeviceType type)
{
    switch (type) {
    case DeviceType::UsbIp:
        return usbIpParameterList(defaultLanAddress());
    case DeviceType::Speaker:
        return speakerParameterList();
    case DeviceType::Storage:
        return storageParameterList();
    case DeviceType::Keyboard:
        return keyboardParameterList();
    case DeviceType::Camera:
    case DeviceType::Fido2:
    case DeviceType::Microphone:
    case DeviceType::Mouse:
        break;
    }
    return {};
}

ScriptedParameters scriptedParameters(DeviceType type, const QStringList& given)
{
    const auto [assignments, error] = withSecretValues(given);
    if (!error.isEmpty())
        return {{}, error};
    if (type == DeviceType::Camera)
        return listOf(cameraSettingsFrom(assignments));
    if (type == DeviceType::Microphone)
        return listOf(microphoneSettingsFrom(assignments));
    if (type == DeviceType::Fido2)
        return listOf(fido2SettingsFrom(assignments, Fido2Environment::ofThisProgram()));
    if (assignments.isEmpty())
        return {fixedParameters(type), {}};
    return {{}, QStringLiteral("A device of type '%1' has no settings to give.").arg(deviceTypeWord(type))};
}

QString settingsHelp()
{
    const auto line = [](DeviceType type, const QStringList& names) {
        return QStringLiteral("%1 has %2").arg(deviceTypeWord(type), names.join(QStringLiteral(", ")));
    };
    return QStringList{line(DeviceType::Camera, cameraSettingNames()),
                       line(DeviceType::Microphone, microphoneSettingNames()),
                       line(DeviceType::Fido2, fido2SettingNames())}
        .join(QStringLiteral("; "));
}
