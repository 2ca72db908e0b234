// media_module.h: the devices that play media lie in a library of their own, loaded when a process becomes one of them:
// no other device waits until FFmpeg is loaded, or keeps it in memory.
#pragma once

#include "devices/media_library.h"
#include "emulation/channels/device_service.h"
#include "emulation/function/device_function.h"
#include "emulation/message/outcome.h"

#include <memory>

/// The one function of the library, which is always of the same build as the program. The caller owns the device; a
/// null pointer with an empty `fault` means that the type has no function yet.
using MakeMediaDevice = DeviceFunction* (*)(const DeviceContext& context, const usb::DeviceDescriptors& identity,
                                            QString* fault);
inline constexpr const char* kMakeMediaDevice = "plugboardMakeMediaDevice";

/// A camera or a microphone, made by the library. A fault is a sentence that ends the process.
Outcome<std::unique_ptr<DeviceFunction>> makeMediaDevice(const DeviceContext& context,
                                                         const usb::DeviceDescriptors& identity);
