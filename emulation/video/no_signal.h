// no_signal.h: the picture that stands in for a source that is gone.
#pragma once

#include "emulation/video/payloads.h"
#include "emulation/video/video_format.h"

#include <vector>

namespace uvc {

/// The last of `pictures`, dimmed, with "no signal" in its middle, in the camera's format; it needs no other picture.
/// `pictures` are in that format, too, each behind those that it needs. Black when there are none, or they cannot be
/// decoded; null when it cannot be encoded. Any thread; takes as long as decoding them. The device process has a
/// definition of its own (emulation/process/media_module.h), which a program's linker prefers to the one here.
PicturePointer makeNoSignal(const CameraSetup& setup, const std::vector<PicturePointer>& pictures);

} // namespace uvc
