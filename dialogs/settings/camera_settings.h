// camera_settings.h: what the user chose for a camera, and the values that a device is created with.
#pragma once

#include "dialogs/settings/network_source.h"
#include "dialogs/settings/setting_rules.h"

#include <QStringList>

/// Texts are as typed or as the choice shows them; the defaults are what the dialog starts with.
struct CameraSettings
{
    enum class Source
    {
        None,
        File,
        IpCamera,
        DroidCam
    };

    QString vid = QStringLiteral("0x1234");
    QString pid = QStringLiteral("0x5678");
    QString deviceName = QStringLiteral("UVC Camera");
    Source sourceKind = Source::File;
    QString path;
    NetworkSource network;
    QString resolution = QStringLiteral("640x480");
    QString frameRate = QStringLiteral("25");
    QString frameFormat = QStringLiteral("MJPEG");
    QString usbChoice = QStringLiteral("USB2.0");
    QString uvcChoice = QStringLiteral("1.0");
    bool isochronousActive = false;

    /// "0" for "USB2.0", otherwise "1".
    QString usbVersion() const;
    /// The path, or for the sources in the network their stream's URL.
    QString source() const;
    QString streamUrl() const { return network.url(QStringLiteral("video")); }
    /// FFmpeg's codec id, 0 for raw pictures.
    int codecId() const;
    /// FFmpeg's pixel format, -1 for compressed pictures.
    int pixelFormat() const;
    /// BCD text. H.264 and H.265 are frame-based formats, which UVC has since 1.5, so they are 1.5 whatever was chosen.
    QString uvcVersion() const;

    /// The creation parameter list; the resolution is split at its first and at its last "x".
    QStringList parameterList() const;
};

/// What the choices offer, the default first.
QStringList cameraResolutions();
QStringList cameraFrameRates();
QStringList cameraFrameFormats();
QStringList cameraUsbChoices();
QStringList cameraUvcChoices();

/// Of cameraSettingsFrom(), in the order in which they take effect.
QStringList cameraSettingNames();

/// Settings of a script's NAME=VALUE texts over the defaults, checked like the dialog's fields. "address" and "port"
/// choose the IP camera, which transfers isochronously unless "iso" says otherwise. Pictures that the bus cannot carry
/// are refused. Nothing is opened.
SettingsReading<CameraSettings> cameraSettingsFrom(const QStringList& assignments);

/// NAME=VALUE texts from which cameraSettingsFrom() makes the same settings, as far as it would accept them.
QStringList cameraAssignments(const CameraSettings& settings);
