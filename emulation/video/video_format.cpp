#include "emulation/video/video_format.h"

#include "devices/camera_limits.h"
#include "devices/parameter_list.h"

#include <algorithm>
#include <array>

namespace uvc {

namespace {

struct KnownFormat
{
    int codecId;
    int pixelFormat; ///< of raw pictures; -1 otherwise
    FormatFamily family;
    const char* name;
    const char* fourcc; ///< begins the GUID; null for MJPEG
    int bitsPerPixel;
};

constexpr std::array<KnownFormat, 5> kFormats{{
    {7, -1, FormatFamily::Mjpeg, "MJPEG", nullptr, 16},
    {27, -1, FormatFamily::FrameBased, "H264", "H264", 16},
    {173, -1, FormatFamily::FrameBased, "H265", "H265", 16},
    {0, 0, FormatFamily::Uncompressed, "YUV420P", "I420", 12},
    {0, 23, FormatFamily::Uncompressed, "NV12", "NV12", 12},
}};

/// The GUID of a four-character code: that code and a tail that is the same for all (UVC 1.5, uncompressed payload).
QByteArray guidOf(const char* fourcc)
{
    return fourcc ? QByteArray(fourcc, 4) + QByteArray::fromHex("00001000800000aa00389b71") : QByteArray();
}

} // namespace

std::uint32_t CameraSetup::frameInterval() const
{
    return 10'000'000U / std::uint32_t(rate);
}

std::uint32_t CameraSetup::largestPicture() const
{
    if (isRaw())
        return std::uint32_t(reckonedBytes);
    constexpr std::int64_t kLeast = 64 * 1024; // small pictures have headers, too
    return std::uint32_t(std::max<std::int64_t>(std::int64_t(width) * height * 2, kLeast));
}

Outcome<CameraSetup> cameraSetup(const DeviceDescription& device)
{
    const CameraPictures pictures = CameraPictures::fromParameters(device.parameters);
    const auto known = std::find_if(kFormats.begin(), kFormats.end(), [&](const KnownFormat& format) {
        return format.codecId == pictures.codecId &&
               (format.codecId != 0 || format.pixelFormat == pictures.pixelFormat);
    });
    if (known == kFormats.end())
        return Fault{QStringLiteral("No camera shows pictures of codec %1 and pixel format %2.")
                         .arg(pictures.codecId)
                         .arg(pictures.pixelFormat)};
    if (const QString fault = cameraBusFault(pictures); !fault.isEmpty())
        return Fault{fault};
    CameraSetup setup;
    setup.family = known->family;
    setup.name = QLatin1String(known->name);
    setup.guid = guidOf(known->fourcc);
    setup.bitsPerPixel = known->bitsPerPixel;
    setup.codecId = known->codecId;
    setup.pixelFormat = known->pixelFormat;
    setup.width = pictures.width;
    setup.height = pictures.height;
    setup.rate = pictures.rate;
    const bool isOld = device.parameters.value(parameter::CameraUvcVersion) == QLatin1String("0x0100");
    setup.uvcVersion = isOld && !setup.isInterCoded() ? 0x0100 : 0x0150; // frame-based formats are newer than 1.0
    setup.isSuperSpeed = pictures.isSuperSpeed;
    setup.isIsochronous = pictures.isIsochronous;
    setup.reckonedBytes = reckonedPictureBytes(pictures);
    return setup;
}

} // namespace uvc
