#include "devices/camera_limits.h"

#include "devices/parameter_list.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kMjpeg = 7; // FFmpeg's codec id
constexpr int kRaw = 0;

/// Share of an isochronous packet that is picture: at least 1012 of 1024 bytes, the rest is the payload's header.
constexpr double kHeaderLoss = 12.0 / 1024;

double bitsPerPixel(int codecId)
{
    if (codecId == kRaw)
        return 12; // 4:2:0, both layouts
    return codecId == kMjpeg ? 2 : 0.5;
}

double pictureBytesPerSecond(const CameraPictures& pictures)
{
    const auto bus = double(busBytesPerSecond(pictures.isSuperSpeed, pictures.isIsochronous));
    return pictures.isIsochronous ? bus * (1 - kHeaderLoss) : bus;
}

QString formatName(const CameraPictures& pictures)
{
    switch (pictures.codecId) {
    case kMjpeg:
        return QStringLiteral("MJPEG");
    case 27:
        return QStringLiteral("H264");
    case 173:
        return QStringLiteral("H265");
    default:
        return pictures.pixelFormat == 23 ? QStringLiteral("NV12") : QStringLiteral("YUV420P");
    }
}

} // namespace

CameraPictures CameraPictures::fromParameters(const QStringList& parameters)
{
    CameraPictures pictures;
    pictures.codecId = parameters.value(parameter::CameraCodec).toInt();
    pictures.pixelFormat = parameters.value(parameter::CameraPixelFormat).toInt();
    pictures.width = parameters.value(parameter::CameraWidth).toInt();
    pictures.height = parameters.value(parameter::CameraHeight).toInt();
    pictures.rate = parameters.value(parameter::CameraFrameRate).toInt();
    pictures.isSuperSpeed = parameters.value(parameter::UsbVersion) == QLatin1String("1");
    pictures.isIsochronous = parameters.value(parameter::CameraIsochronous) == QLatin1String("1");
    return pictures;
}

std::int64_t reckonedPictureBytes(const CameraPictures& pictures)
{
    const std::int64_t width = pictures.width;
    const std::int64_t height = pictures.height;
    if (pictures.codecId == kRaw)
        return width * height + (width + 1) / 2 * ((height + 1) / 2) * 2;
    return std::int64_t(double(width * height) * bitsPerPixel(pictures.codecId) / 8);
}

std::int64_t busBytesPerSecond(bool isSuperSpeed, bool isIsochronous)
{
    constexpr std::int64_t kMicroframes = 8000; // a second
    if (isSuperSpeed)
        return isIsochronous ? kMicroframes * 48 * 1024 : 400'000'000;
    return kMicroframes * (isIsochronous ? 3 * 1024 : 13 * 512);
}

int largestRate(const CameraPictures& pictures)
{
    const auto bytes = double(std::max<std::int64_t>(reckonedPictureBytes(pictures), 1));
    return int(std::min(pictureBytesPerSecond(pictures) / bytes, 1000.0));
}

QString largestSize(const CameraPictures& pictures)
{
    const double pixels = pictureBytesPerSecond(pictures) * 8 / bitsPerPixel(pictures.codecId) / pictures.rate;
    const double shrink = std::sqrt(pixels / (double(pictures.width) * pictures.height));
    const auto side = [shrink](int length) { return std::max(2, int(length * shrink) / 2 * 2); };
    return QStringLiteral("%1x%2").arg(side(pictures.width)).arg(side(pictures.height));
}

QString cameraBusFault(const CameraPictures& pictures)
{
    const int rate = largestRate(pictures);
    if (pictures.rate <= rate)
        return {};
    return QStringLiteral(
               "USB %1 cannot carry %2 pictures of %3x%4 %5 times a second%6; it carries at most %7, or %8 at %5.")
        .arg(pictures.isSuperSpeed ? QStringLiteral("3.0") : QStringLiteral("2.0"), formatName(pictures))
        .arg(pictures.width)
        .arg(pictures.height)
        .arg(pictures.rate)
        .arg(pictures.isIsochronous ? QStringLiteral(" isochronously") : QString())
        .arg(rate)
        .arg(largestSize(pictures));
}
