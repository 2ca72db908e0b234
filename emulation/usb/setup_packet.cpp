#include "emulation/usb/setup_packet.h"

namespace usb {

SetupPacket parseSetupPacket(const std::array<std::uint8_t, 8>& bytes)
{
    const auto word = [&](std::size_t at) { return static_cast<std::uint16_t>(bytes[at] | bytes[at + 1] << 8); };
    return {bytes[0], bytes[1], word(2), word(4), word(6)};
}

std::array<std::uint8_t, 8> serializeSetupPacket(const SetupPacket& setup)
{
    const auto low = [](std::uint16_t word) { return static_cast<std::uint8_t>(word); };
    const auto high = [](std::uint16_t word) { return static_cast<std::uint8_t>(word >> 8); };
    return {setup.bmRequestType, setup.bRequest,     low(setup.wValue),  high(setup.wValue),
            low(setup.wIndex),   high(setup.wIndex), low(setup.wLength), high(setup.wLength)};
}

} // namespace usb
