#include "devices/parameter_list.h"

namespace {

QString flag(bool on)
{
    return on ? QStringLiteral("1") : QStringLiteral("0");
}

/// A list of one of the types that have no settings: same vendor, product and USB version for all.
QStringList fixedList(const QString& deviceCode, const QString& name, const QStringList& details)
{
    return QStringList{deviceCode, QStringLiteral("1d6b"), QStringLiteral("0002"), name, QStringLiteral("0200")} +
           details + QStringList{QStringLiteral("END")};
}

} // namespace

QStringList cameraParameterList(const CameraParameters& camera)
{
    const QLatin1Char by('x');
    return {QStringLiteral("1"),
            camera.vid,
            camera.pid,
            camera.name,
            camera.usbVersion,
            camera.source,
            QString::number(camera.codecId),
            QString::number(camera.pixelFormat),
            camera.resolution.left(camera.resolution.indexOf(by)),
            camera.resolution.mid(camera.resolution.lastIndexOf(by) + 1),
            camera.frameRate,
            camera.uvcVersion,
            flag(camera.isochronousActive),
            QStringLiteral("END")};
}

QStringList fido2ParameterList(const Fido2Parameters& key)
{
    return {QStringLiteral("2"),
            key.vid,
            key.pid,
            key.name,
            flag(key.usbVersionChoice != QLatin1String("2.0")),
            key.serialNumber,
            key.credentialsPath,
            flag(key.supportsPin),
            QStringLiteral("END")};
}

QStringList microphoneParameterList(const MicrophoneParameters& microphone)
{
    return {QStringLiteral("3"),
            microphone.vid,
            microphone.pid,
            microphone.name,
            microphone.usbVersion,
            microphone.uacVersion,
            flag(microphone.realTime),
            microphone.source,
            QString::number(microphone.channels),
            QString::number(microphone.sampleRate),
            flag(microphone.loop),
            QStringLiteral("END")};
}

QStringList usbIpParameterList(const QString& server)
{
    return fixedList(QStringLiteral("3"), QStringLiteral("USBIP Device"),
                     {server + QStringLiteral(":3240"), QStringLiteral("1-1")});
}

QStringList speakerParameterList()
{
    return fixedList(QStringLiteral("5"), QStringLiteral("Speaker Device"),
                     {QStringLiteral("2"), QStringLiteral("44100")});
}

QStringList storageParameterList()
{
    return fixedList(QStringLiteral("6"), QStringLiteral("USB Storage Device"),
                     {QStringLiteral("1024"), QStringLiteral("FAT32")});
}

QStringList keyboardParameterList()
{
    return fixedList(QStringLiteral("7"), QStringLiteral("Keyboard Device"),
                     {QStringLiteral("104"), QStringLiteral("USB HID")});
}

QString joinParameters(const QStringList& fields)
{
    return fields.join(QLatin1Char('\n'));
}
