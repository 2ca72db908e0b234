// placement.h: where and how large the picture is shown; edited by commands while frames flow.
#pragma once

#include <atomic>

inline constexpr int kScaleStretch = 0;   ///< Fills the target.
inline constexpr int kScaleAspectFit = 1; ///< As large as fits the target with the picture's own proportions, centred.
inline constexpr int kScalePadding = 2;   ///< The picture's own size.

/// Written by the command thread, read by the media thread, without a lock: each value stands for itself.
struct PlacementState
{
    explicit PlacementState(int scaleMode) : mode(scaleMode) {}

    std::atomic<int> x{0}; ///< Pixels right of the place that the mode gives.
    std::atomic<int> y{0}; ///< Pixels below it.
    std::atomic<double> widthScale{1.0};
    std::atomic<double> heightScale{1.0};
    std::atomic<int> mode;

    /// Size of the incoming pictures, 0 before the first.
    std::atomic<int> inputWidth{0};
    std::atomic<int> inputHeight{0};
};

struct PictureArea
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const PictureArea&) const = default;
};

/// Length scaled and cut to whole pixels, at most kMaxScaledSize.
int scaledSize(int size, double scale);
inline constexpr int kMaxScaledSize = 0x7ffffffe;

/// The area of the target that the state asks for; parts may lie outside. Sides are at least 2 and at most 8192
/// pixels and are even where the target format halves its colour planes in that direction. Positions wrap at 32 bits.
PictureArea placedArea(const PlacementState& state, int inputWidth, int inputHeight, int targetWidth, int targetHeight,
                       int targetFormat);

/// Whether a side of a picture must be even in this format.
bool needsEvenWidth(int format);
bool needsEvenHeight(int format);
