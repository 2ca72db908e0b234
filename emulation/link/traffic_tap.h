// traffic_tap.h: who watches what passes between a host and a device.
#pragma once

#include "emulation/link/usbip_messages.h"

/// Transfer types as USB numbers them in endpoint attributes.
enum class TappedType : std::uint8_t
{
    Control = 0,
    Isochronous = 1,
    Bulk = 2,
    Interrupt = 3,
};

/// One message, valid during the call.
struct TappedMessage
{
    const usbip::Header& header; ///< as it travels
    usbip::Command command = usbip::Command::Submit;
    std::uint32_t deviceId = 0;
    std::uint32_t sequence = 0;
    std::uint8_t endpoint = 0; ///< of a reply: as of its submission
    bool in = false;
    TappedType type = TappedType::Control;
    std::uint32_t length = 0; ///< of the host's buffer; of a reply: bytes that went over the bus
    const QByteArray& data;   ///< of isochronous packets without the table
    const std::array<std::uint8_t, 8>* setup = nullptr; ///< submissions of control transfers only
};

class TrafficTap
{
public:
    virtual ~TrafficTap() = default;

    /// Whether messages are wanted now; they cost something to tell.
    virtual bool isOpen() const = 0;
    virtual void passed(const TappedMessage& message) = 0;
};
