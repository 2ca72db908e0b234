// values.h: settings as one text, all that a device is created with in its order.
#pragma once

#include "dialogs/settings/camera_settings.h"
#include "dialogs/settings/microphone_settings.h"

inline QString valuesOf(const CameraSettings& s)
{
    return QStringList{s.vid,
                       s.pid,
                       s.deviceName,
                       s.usbVersion(),
                       s.source(),
                       QString::number(s.codecId()),
                       QString::number(s.pixelFormat()),
                       s.resolution,
                       s.frameRate,
                       s.uvcVersion(),
                       s.isochronousActive ? QStringLiteral("iso") : QStringLiteral("bulk")}
        .join(QLatin1Char('|'));
}

inline QString valuesOf(const MicrophoneSettings& s)
{
    return QStringList{s.vid,
                       s.pid,
                       s.deviceName,
                       s.usbVersion,
                       s.uacVersion,
                       s.realTime ? QStringLiteral("rt") : QStringLiteral("-"),
                       s.source(),
                       QString::number(s.channels),
                       QString::number(s.sampleRate),
                       s.loop ? QStringLiteral("loop") : QStringLiteral("once")}
        .join(QLatin1Char('|'));
}
