// audio_descriptors.h: what a microphone or speaker says of itself (USB Audio 1.0 and 2.0, both with Formats).
#pragma once

#include "emulation/audio/audio_kind.h"
#include "emulation/usb/descriptors.h"

namespace audio {

/// bInterfaceNumber.
constexpr std::uint8_t kControlInterface = 0;
constexpr std::uint8_t kStreamInterface = 1;

/// Numbers of what sound passes inside the device: terminal, feature unit, terminal; of version 2.0 also its clock.
constexpr std::uint8_t kInputTerminal = 1;
constexpr std::uint8_t kFeatureUnit = 2;
constexpr std::uint8_t kOutputTerminal = 3;
constexpr std::uint8_t kClockSource = 4;

/// Of `identity` the ids, the version of USB and the names are taken. From USB 3.0 on the device is a SuperSpeed one;
/// below, one of version 1.0 works at full speed, for which that version was made, as long as 1 ms of sound fits a
/// packet there, and any other at high speed. Alternate setting 1 of the streaming interface has the one endpoint.
usb::DeviceDescriptors describe(usb::DeviceDescriptors identity, const AudioKind& kind);

/// The endpoint of the sound.
const usb::Endpoint& streamEndpoint(const usb::DeviceDescriptors& descriptors);

} // namespace audio
