// usbip_bytes.h: what a host says over USB/IP, as a host's program would put it together.
#pragma once

#include "emulation/link/usbip_codec.h"
#include "emulation/usb/setup_packet.h"

#include <algorithm>

namespace tests {

/// The submission of a control transfer from its setup bytes in hexadecimal; of no device, and without a sequence.
inline usbip::Submit controlSubmit(const char* setup)
{
    const QByteArray bytes = QByteArray::fromHex(setup);
    usbip::Submit submit;
    std::copy(bytes.begin(), bytes.end(), submit.setup.begin());
    const usb::SetupPacket packet = usb::parseSetupPacket(submit.setup);
    submit.in = packet.isIn();
    submit.length = packet.wLength;
    return submit;
}

/// A submission, or an unlink, as it travels.
inline QByteArray bytesOf(const usbip::Submit& submit)
{
    const usbip::Header header = usbip::headerOf(submit);
    return QByteArray(header.data(), int(header.size())) + submit.data + usbip::packetTable(submit.packets);
}

inline QByteArray bytesOf(const usbip::Unlink& unlink)
{
    const usbip::Header header = usbip::headerOf(unlink);
    return QByteArray(header.data(), int(header.size()));
}

} // namespace tests
