#include "media/picture.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/cpu.h>
}

namespace {

/// Loads that gather are slow on AMD's processors, the newest too, of which FFmpeg does not say so. Without them
/// scaling takes about a quarter less time and makes the same pictures.
void avoidSlowGathers()
{
#if defined(__x86_64__)
    static const bool s_isSlow = [] {
        const bool isSlow = __builtin_cpu_is("amd") != 0;
        if (isSlow)
            av_force_cpu_flags(av_get_cpu_flags() | AV_CPU_FLAG_SLOW_GATHER);
        return isSlow;
    }();
    (void)s_isSlow;
#endif
}

/// How the planes after the first relate to it.
struct ChromaShape
{
    int planes = 0;     ///< 0 when the format has no known colour planes.
    int widthShift = 1; ///< 1 when a row of a colour plane has half the picture's width, in samples.
    int heightShift = 0;
    int bytesPerSample = 1;
};

ChromaShape chromaShape(int format)
{
    switch (format) {
    case AV_PIX_FMT_YUV420P:
    case AV_PIX_FMT_YUVJ420P:
        return {2, 1, 1, 1};
    case AV_PIX_FMT_YUV422P:
        return {2, 1, 0, 1};
    case AV_PIX_FMT_NV12:
        return {1, 1, 1, 2};
    default:
        return {};
    }
}

int shiftUp(int value, int shift)
{
    return (value + (1 << shift) - 1) >> shift;
}

void clearRows(std::uint8_t* data, int lineSize, int rows, int value)
{
    // A picture that is stored bottom up has a negative line size; its last row is the lowest address.
    if (lineSize < 0) {
        data += static_cast<std::ptrdiff_t>(lineSize) * (rows - 1);
        lineSize = -lineSize;
    }
    std::memset(data, value, static_cast<std::size_t>(lineSize) * static_cast<std::size_t>(rows));
}

struct Point
{
    int x;
    int y;
};

void copyPlane(AVFrame& destination, const AVFrame& source, int plane, Point to, Point from, int bytes, int rows)
{
    for (int row = 0; row < rows; ++row) {
        const auto toLine = static_cast<std::ptrdiff_t>(to.y + row) * destination.linesize[plane];
        const auto fromLine = static_cast<std::ptrdiff_t>(from.y + row) * source.linesize[plane];
        std::memcpy(destination.data[plane] + toLine + to.x, source.data[plane] + fromLine + from.x,
                    static_cast<std::size_t>(bytes));
    }
}

/// All numbers lie inside both pictures.
void copyRectangle(AVFrame& destination, const AVFrame& source, Point to, Point from, int width, int height)
{
    copyPlane(destination, source, 0, to, from, width, height);
    const ChromaShape shape = chromaShape(destination.format);
    const auto scaled = [&shape](Point point) {
        return Point{(point.x >> shape.widthShift) * shape.bytesPerSample, point.y >> shape.heightShift};
    };
    // An odd position shares its first colour sample with the pixel before it; the row must not run past the plane.
    const Point chromaTo = scaled(to);
    const Point chromaFrom = scaled(from);
    const auto columns = [&shape](int pictureWidth, Point at) {
        return shiftUp(pictureWidth, shape.widthShift) * shape.bytesPerSample - at.x;
    };
    const auto rows = [&shape](int pictureHeight, Point at) {
        return shiftUp(pictureHeight, shape.heightShift) - at.y;
    };
    const int bytes = std::min({shiftUp(width, shape.widthShift) * shape.bytesPerSample,
                                columns(destination.width, chromaTo), columns(source.width, chromaFrom)});
    const int lines = std::min(
        {shiftUp(height, shape.heightShift), rows(destination.height, chromaTo), rows(source.height, chromaFrom)});
    for (int plane = 1; plane <= shape.planes; ++plane)
        copyPlane(destination, source, plane, chromaTo, chromaFrom, bytes, lines);
}

} // namespace

bool hasKnownPlanes(int format)
{
    return chromaShape(format).planes > 0;
}

void clearPicture(AVFrame& picture)
{
    const ChromaShape shape = chromaShape(picture.format);
    if (shape.planes == 0)
        return;
    clearRows(picture.data[0], picture.linesize[0], picture.height, picture.format == AV_PIX_FMT_YUVJ420P ? 0 : 16);
    for (int plane = 1; plane <= shape.planes; ++plane)
        clearRows(picture.data[plane], picture.linesize[plane], shiftUp(picture.height, shape.heightShift), 128);
}

void copyPicture(AVFrame& destination, const AVFrame& source, int x, int y, int width, int height)
{
    x = std::max(x, 0);
    y = std::max(y, 0);
    const int copiedWidth = std::min({destination.width - x, width, source.width});
    const int copiedHeight = std::min({destination.height - y, height, source.height});
    if (copiedWidth < 1 || copiedHeight < 1)
        return;
    copyRectangle(destination, source, {x, y}, {0, 0}, copiedWidth, copiedHeight);
}

void placePicture(AVFrame& destination, const AVFrame& source, int x, int y, int width, int height)
{
    const ChromaShape shape = chromaShape(destination.format);
    if (shape.planes > 0) {
        x &= ~((1 << shape.widthShift) - 1);
        y &= ~((1 << shape.heightShift) - 1);
    }
    // Positions come from commands and may be anywhere in 32 bits.
    const std::int64_t left = std::max<std::int64_t>(-std::int64_t(x), 0);
    const std::int64_t top = std::max<std::int64_t>(-std::int64_t(y), 0);
    const std::int64_t toX = std::max(x, 0);
    const std::int64_t toY = std::max(y, 0);
    const std::int64_t copiedWidth = std::min(destination.width - toX, std::min(width, source.width) - left);
    const std::int64_t copiedHeight = std::min(destination.height - toY, std::min(height, source.height) - top);
    if (copiedWidth < 1 || copiedHeight < 1)
        return;
    copyRectangle(destination, source, {int(toX), int(toY)}, {int(left), int(top)}, int(copiedWidth),
                  int(copiedHeight));
}

ffmpeg::Scaler makeScaler(int width, int height, int format, int targetWidth, int targetHeight, int targetFormat)
{
    avoidSlowGathers();
    return ffmpeg::Scaler(sws_getContext(width, height, static_cast<AVPixelFormat>(format), targetWidth, targetHeight,
                                         static_cast<AVPixelFormat>(targetFormat), SWS_BILINEAR, nullptr, nullptr,
                                         nullptr));
}

ffmpeg::Frame makePicture(int format, int width, int height)
{
    ffmpeg::Frame picture(av_frame_alloc());
    if (!picture || format < 0)
        return nullptr;
    picture->format = format;
    picture->width = width;
    picture->height = height;
    if (av_frame_get_buffer(picture.get(), 0) < 0)
        return nullptr;
    for (int plane = 0; plane < AV_NUM_DATA_POINTERS && picture->buf[plane]; ++plane)
        std::memset(picture->buf[plane]->data, 0, picture->buf[plane]->size);
    return picture;
}
