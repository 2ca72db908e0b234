#include "media/placement.h"

#include "media/ffmpeg_handles.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr int kMaxPlacedSize = 8192; // Pixels; bounds what one command can make the scaler allocate.

int placedSize(double size, bool even)
{
    const int cut = static_cast<int>(std::clamp<double>(size, 2, kMaxPlacedSize));
    return even ? cut + cut % 2 : cut;
}

int wrappingSum(int left, int right)
{
    return static_cast<int>(static_cast<std::uint32_t>(left) + static_cast<std::uint32_t>(right));
}

} // namespace

int scaledSize(int size, double scale)
{
    return static_cast<int>(std::clamp<double>(size * scale, 0, kMaxScaledSize));
}

bool needsEvenWidth(int format)
{
    return format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_NV12 || format == AV_PIX_FMT_YUV422P;
}

bool needsEvenHeight(int format)
{
    return format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_NV12;
}

PictureArea placedArea(const PlacementState& state, int inputWidth, int inputHeight, int targetWidth, int targetHeight,
                       int targetFormat)
{
    double width = inputWidth;
    double height = inputHeight;
    const int mode = state.mode;
    if (mode == kScaleStretch) {
        width = targetWidth;
        height = targetHeight;
    } else if (mode == kScaleAspectFit && inputWidth > 0 && inputHeight > 0) {
        const double fit = std::min(double(targetWidth) / inputWidth, double(targetHeight) / inputHeight);
        width = inputWidth * fit;
        height = inputHeight * fit;
    }
    PictureArea area;
    area.width =
        placedSize(width * state.widthScale, needsEvenWidth(targetFormat) || targetFormat == AV_PIX_FMT_YUVJ420P);
    area.height =
        placedSize(height * state.heightScale, needsEvenHeight(targetFormat) || targetFormat == AV_PIX_FMT_YUVJ420P);
    if (mode == kScaleAspectFit) {
        area.x = (targetWidth - static_cast<int>(width)) / 2;
        area.y = (targetHeight - static_cast<int>(height)) / 2;
    }
    area.x = wrappingSum(area.x, state.x);
    area.y = wrappingSum(area.y, state.y);
    return area;
}
