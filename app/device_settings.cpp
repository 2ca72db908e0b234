#include "app/device_settings.h"

#include "dialogs/camera_settings.h"
#include "dialogs/microphone_settings.h"

namespace {

template<typename Settings>
ScriptedParameters listOf(const SettingsReading<Settings>& reading)
{
    if (!reading.settings)
        return {{}, reading.error};
    return {parameterList(*reading.settings), {}};
}

} // namespace

QStringList parameterList(const CameraSettings& chosen)
{
    CameraParameters camera;
    camera.vid = chosen.vid;
    camera.pid = chosen.pid;
    camera.name = chosen.deviceName;
    camera.usbVersion = chosen.usbVersion();
    camera.source = chosen.source();
    camera.codecId = chosen.codecId();
    camera.pixelFormat = chosen.pixelFormat();
    camera.resolution = chosen.resolution;
    camera.frameRate = chosen.frameRate;
    camera.uvcVersion = chosen.uvcVersion();
    camera.isochronousActive = chosen.isochronousActive;
    return cameraParameterList(camera);
}

QStringList parameterList(const MicrophoneSettings& chosen)
{
    MicrophoneParameters microphone;
    microphone.vid = chosen.vid;
    microphone.pid = chosen.pid;
    microphone.name = chosen.deviceName;
    microphone.usbVersion = chosen.usbVersion;
    microphone.uacVersion = chosen.uacVersion;
    microphone.realTime = chosen.realTime;
    microphone.source = chosen.source();
    microphone.channels = chosen.channels;
    microphone.sampleRate = chosen.sampleRate;
    microphone.loop = chosen.loop;
    return microphoneParameterList(microphone);
}

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
