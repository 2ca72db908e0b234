// limits.h: what a source can make the media stages spend.
#pragma once

#include <cstdint>

/// Of one picture. The largest that cameras and screens have, 8K of cinemas; a few bytes of a file can announce more.
constexpr std::int64_t kMostPixels = 8192 * 4320;

/// Streams of one input that are looked at.
constexpr int kMostStreams = 64;
