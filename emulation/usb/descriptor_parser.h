// descriptor_parser.h: descriptors as they travel, taken apart again.
#pragma once

#include "emulation/usb/descriptors.h"

namespace usb {

/// What can be read of the bytes, and a sentence for each thing that cannot be right: a length that does not fit, a
/// count or a total that differs from what follows. Names stay empty. Never fails otherwise, whatever the bytes are.
struct ParsedDescriptors
{
    DeviceDescriptors device;
    std::vector<QString> faults;
};

ParsedDescriptors parseDescriptors(const QByteArray& deviceBytes, const QByteArray& configurationBytes, Speed speed);

} // namespace usb
