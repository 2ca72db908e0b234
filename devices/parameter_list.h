// parameter_list.h: creation parameter lists, the ordered text fields from which a device process makes its device.
//
// A list is joined with line feeds and has "END" as its last field. Field 0 is the device code, 1 and 2 the USB vendor
// and product id, 3 the device name, 4 the USB version; the rest depends on the type. Nothing is validated here: texts
// from dialogs go in as they were typed.
#pragma once

#include <QString>
#include <QStringList>

/// Positions of fields. Lists that follow the common head with settings name them in their order.
namespace parameter {

enum Head
{
    DeviceCode,
    Vid,
    Pid,
    Name,
    UsbVersion,
    FirstOfType
};

enum Camera
{
    CameraSource = FirstOfType, ///< file path or stream URL
    CameraCodec,                ///< FFmpeg's codec id
    CameraPixelFormat,          ///< FFmpeg's pixel format, -1 for the codec's own
    CameraWidth,
    CameraHeight,
    CameraFrameRate,
    CameraUvcVersion,
    CameraIsochronous
};

enum SecurityKey
{
    KeySerialNumber = FirstOfType,
    KeyCredentialsPath,
    KeySupportsPin
};

enum Microphone
{
    MicrophoneUacVersion = FirstOfType,
    MicrophoneRealTime,
    MicrophoneSource, ///< file path or stream URL
    MicrophoneChannels,
    MicrophoneSampleRate, ///< Hz
    MicrophoneLoop
};

enum UsbIp
{
    UsbIpServer = FirstOfType, ///< "ADDRESS:PORT"
    UsbIpBusId
};

enum Speaker
{
    SpeakerChannels = FirstOfType,
    SpeakerSampleRate ///< Hz
};

enum Storage
{
    StorageSize = FirstOfType, ///< MiB
    StorageFileSystem
};

enum Keyboard
{
    KeyboardKeys = FirstOfType,
    KeyboardKind
};

/// "1" for on, "0" for off.
inline QString flag(bool on)
{
    return on ? QStringLiteral("1") : QStringLiteral("0");
}

} // namespace parameter

/// What a security key is created with. The defaults are what the dialog starts with.
struct Fido2Parameters
{
    QString vid = QStringLiteral("0x1234"); ///< as typed
    QString pid = QStringLiteral("0x5678"); ///< as typed
    QString name = QStringLiteral("FIDO2 Security Key");
    QString usbVersionChoice =
        QStringLiteral("2.0"); ///< text of the choice: "2.0" gives the flag "0", anything else "1"
    QString serialNumber;
    QString credentialsPath;
    bool supportsPin = true;

    QStringList parameterList() const;
};

/// Device attached over USB/IP; `server` is an IPv4 address, to which the standard port 3240 is added.
QStringList usbIpParameterList(const QString& server);
QStringList speakerParameterList();
QStringList storageParameterList();
QStringList keyboardParameterList();

/// The text that the launcher encrypts: fields separated by single line feeds, none after the last.
QString joinParameters(const QStringList& fields);
/// The fields of such a text; empty ones count.
QStringList splitParameters(const QString& text);
