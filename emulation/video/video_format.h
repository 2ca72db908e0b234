// video_format.h: the one kind of pictures that a camera shows.
#pragma once

#include "emulation/message/device_description.h"
#include "emulation/message/outcome.h"

#include <QByteArray>
#include <QString>

#include <cstdint>

namespace uvc {

/// The three families of formats, each with descriptors of its own.
enum class FormatFamily : std::uint8_t
{
    Mjpeg,
    FrameBased,
    Uncompressed
};

/// What a camera is made with. Numbers of codecs and pixel formats are FFmpeg's.
struct CameraSetup
{
    FormatFamily family = FormatFamily::Mjpeg;
    QString name;          ///< for people: "MJPEG"
    QByteArray guid;       ///< of 16 bytes; empty for MJPEG
    int bitsPerPixel = 16; ///< as descriptors say it
    int codecId = 0;       ///< 0: raw pictures
    int pixelFormat = -1;  ///< of raw pictures
    int width = 0;         ///< pixels
    int height = 0;
    int rate = 0; ///< pictures per second
    std::uint16_t uvcVersion = 0x0100;
    bool isSuperSpeed = false;
    bool isIsochronous = false;
    std::int64_t reckonedBytes = 0; ///< of a picture, as the bus's load is reckoned

    bool isRaw() const { return family == FormatFamily::Uncompressed; }
    /// A picture may need those before it.
    bool isInterCoded() const { return family == FormatFamily::FrameBased; }

    std::uint32_t frameInterval() const; ///< in 100 ns
    /// Bytes: exactly that for raw pictures, no more for others.
    std::uint32_t largestPicture() const;
};

/// Refuses formats that no camera has, and pictures that the bus does not carry.
Outcome<CameraSetup> cameraSetup(const DeviceDescription& device);

} // namespace uvc
