// parameter_list.h: creation parameter lists, the ordered text fields from which a device process makes its device.
//
// A list is joined with line feeds and has "END" as its last field. Field 0 is the device code, 1 and 2 the USB vendor
// and product id, 3 the device name, 4 the USB version; the rest depends on the type. Nothing is validated here: texts
// from dialogs go in as they were typed.
#pragma once

#include <QString>
#include <QStringList>

struct CameraParameters
{
    QString vid; ///< as typed, for example "0x1234"
    QString pid; ///< as typed
    QString name;
    QString usbVersion;   ///< "0" for USB 2.0, otherwise "1"
    QString source;       ///< file path or stream URL
    int codecId = 0;      ///< FFmpeg's codec id
    int pixelFormat = -1; ///< FFmpeg's pixel format, -1 for the codec's own
    QString resolution;   ///< "1280x720": split at its first and at its last "x"
    QString frameRate;
    QString uvcVersion; ///< "0x0100" or "0x0150"
    bool isochronousActive = false;
};

struct Fido2Parameters
{
    QString vid;
    QString pid;
    QString name;
    QString usbVersionChoice; ///< text of the choice: "2.0" gives the flag "0", anything else "1"
    QString serialNumber;
    QString credentialsPath;
    bool supportsPin = true;
};

struct MicrophoneParameters
{
    QString vid;
    QString pid;
    QString name;
    QString usbVersion; ///< "0" for USB 2.0, "1" for USB 3.0
    QString uacVersion; ///< "1.0" or "2.0"
    bool realTime = false;
    QString source; ///< file path, or "http://ADDRESS:PORT/audio.aac"
    int channels = 2;
    int sampleRate = 44100;
    bool loop = false;
};

QStringList cameraParameterList(const CameraParameters& camera);
QStringList fido2ParameterList(const Fido2Parameters& key);
QStringList microphoneParameterList(const MicrophoneParameters& microphone);

/// Device attached over USB/IP; `server` is an IPv4 address, to which the standard port 3240 is added.
QStringList usbIpParameterList(const QString& server);
QStringList speakerParameterList();
QStringList storageParameterList();
QStringList keyboardParameterList();

/// The text that the launcher encrypts: fields separated by single line feeds, none after the last.
QString joinParameters(const QStringList& fields);
