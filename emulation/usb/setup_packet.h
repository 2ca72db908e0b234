// setup_packet.h: the eight bytes that begin a control transfer (USB 2.0, 9.3).
#pragma once

#include <array>
#include <cstdint>

namespace usb {

enum class RequestType : std::uint8_t
{
    Standard,
    Class,
    Vendor,
    Reserved
};

enum class Recipient : std::uint8_t
{
    Device,
    Interface,
    Endpoint,
    Other
};

struct SetupPacket
{
    std::uint8_t bmRequestType = 0;
    std::uint8_t bRequest = 0;
    std::uint16_t wValue = 0;
    std::uint16_t wIndex = 0;
    std::uint16_t wLength = 0;

    /// Whether the data stage, if there is one, goes to the host.
    bool isIn() const { return (bmRequestType & 0x80) != 0; }
    RequestType type() const { return static_cast<RequestType>(bmRequestType >> 5 & 3); }
    /// Reserved recipients count as Other.
    Recipient recipient() const
    {
        const int recipient = bmRequestType & 0x1F;
        return recipient < 3 ? static_cast<Recipient>(recipient) : Recipient::Other;
    }
};

/// From and to the order in which the bytes travel: words are little-endian.
SetupPacket parseSetupPacket(const std::array<std::uint8_t, 8>& bytes);
std::array<std::uint8_t, 8> serializeSetupPacket(const SetupPacket& setup);

} // namespace usb
