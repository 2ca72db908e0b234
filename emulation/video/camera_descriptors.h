// camera_descriptors.h: what a camera says of itself (USB Video Class 1.0 and 1.5).
#pragma once

#include "emulation/usb/descriptors.h"
#include "emulation/video/video_format.h"

namespace uvc {

inline constexpr std::uint8_t kControlInterface = 0;
inline constexpr std::uint8_t kStreamingInterface = 1;
inline constexpr std::uint8_t kVideoEndpoint = 0x81;
inline constexpr std::uint8_t kProcessingUnit = 2;
inline constexpr std::uint32_t kClockFrequency = 48'000'000; ///< Hz, of the time stamps in payload headers

/// Of `identity` the ids, the version of USB and the names are taken. `processingControls` are the bits of the
/// processing unit's bmControls.
usb::DeviceDescriptors cameraDescriptors(usb::DeviceDescriptors identity, const CameraSetup& setup,
                                         std::uint32_t processingControls);

/// Bytes of the largest payload, header included: what the host reserves for an isochronous packet, or a part of a
/// picture in bulk.
std::uint32_t largestPayload(const CameraSetup& setup);

} // namespace uvc
