// picture.h: clearing pictures to black and copying one into another at a position.
#pragma once

#include "media/ffmpeg_handles.h"

/// Whether clearing and copying handle the colour planes of a format: planar 4:2:0 of either range, planar 4:2:2, NV12.
bool hasKnownPlanes(int format);

/// Makes the picture black, line padding included. Formats without known planes are left as they are.
void clearPicture(AVFrame& picture);

/// Copies the top left `width` x `height` pixels of `source` to (x, y) in `destination`, as far as they fit; negative
/// positions count as 0. Both have the destination's format; without known planes only the first plane is copied, one
/// byte a pixel. Colour planes cover their last odd row and column.
void copyPicture(AVFrame& destination, const AVFrame& source, int x, int y, int width, int height);

/// Like copyPicture, but a negative position cuts the picture off at the left or the top. Positions of formats with
/// halved colour planes are rounded down to even numbers in the halved direction.
void placePicture(AVFrame& destination, const AVFrame& source, int x, int y, int width, int height);

/// Converts and scales pictures with bilinear filters, set up for this processor; null when FFmpeg cannot.
ffmpeg::Scaler makeScaler(int width, int height, int format, int targetWidth, int targetHeight, int targetFormat);

/// A picture with aligned, padded rows and all bytes 0; null when the format or size is impossible.
ffmpeg::Frame makePicture(int format, int width, int height);
