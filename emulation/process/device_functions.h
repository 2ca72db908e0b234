// device_functions.h: which function makes the device of a description.
#pragma once

#include "emulation/channels/device_service.h"
#include "emulation/function/device_function.h"
#include "emulation/message/outcome.h"

/// Null for a type that has no function of its own: USB/IP, and those whose function is still to come. A fault is a
/// sentence that ends the process.
Outcome<std::unique_ptr<DeviceFunction>> makeDeviceFunction(const DeviceContext& context);
