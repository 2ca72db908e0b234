// camera_limits.h: which pictures a USB bus carries how often, for dialogs, scripts and the camera itself.
#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>

/// What a camera is to show; the fields of its parameter list.
struct CameraPictures
{
    int codecId = 0;      ///< FFmpeg's; 0: raw pictures
    int pixelFormat = -1; ///< FFmpeg's, of raw pictures
    int width = 0;        ///< pixels
    int height = 0;
    int rate = 0; ///< pictures per second
    bool isSuperSpeed = false;
    bool isIsochronous = false;

    /// Of a list as long as a camera's, whose fields hold what they should.
    static CameraPictures fromParameters(const QStringList& parameters);
};

/// Bytes that one picture takes: exactly for raw pictures, what is reckoned with for compressed ones, whose content
/// decides (MJPEG two bits a pixel, H.264 and H.265 half a bit).
std::int64_t reckonedPictureBytes(const CameraPictures& pictures);

/// Bytes per second that the bus carries for one endpoint: USB 2.0, 5.6.4 and 5.8.4 (24.6 and 53.2 MB/s); USB 3.2 at 5
/// Gbit/s (393 MB/s isochronously, 8.12; 400 MB/s in bulk).
std::int64_t busBytesPerSecond(bool isSuperSpeed, bool isIsochronous);

/// The most pictures per second of this size that the bus carries; 0 when it does not even carry one.
int largestRate(const CameraPictures& pictures);

/// The largest size of the same proportions, with even sides, that the bus carries at this rate: "WIDTHxHEIGHT".
QString largestSize(const CameraPictures& pictures);

/// Empty when the bus carries the pictures. Otherwise one sentence with the largest that it can: rate at this size, and
/// size at this rate.
QString cameraBusFault(const CameraPictures& pictures);
