// media_module.h: the part of cameras and microphones that needs FFmpeg lies in a library of its own, which is loaded
// once there is something to play: no other device waits until it is, or keeps it in memory. makePlayer() and
// uvc::makeNoSignal() are defined here for the device process, as calls of that library.
#pragma once

#include "emulation/player/make_player.h"
#include "emulation/video/no_signal.h"

/// The functions of the library, which is always of the same build as the program. The caller owns the player.
using MakePlayer = SourcePlayer* (*)(VideoFileSettings settings);
using MakeNoSignal = void (*)(const uvc::CameraSetup& setup, const std::vector<uvc::PicturePointer>& pictures,
                              uvc::PicturePointer& made);
inline constexpr const char* kMakePlayer = "plugboardMakePlayer";
inline constexpr const char* kMakeNoSignal = "plugboardMakeNoSignal";

/// Loads the library now, for a device that has a source: its host need not wait for it later. A sentence that ends the
/// process, or empty.
QString loadMediaModule();
