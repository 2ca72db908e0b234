// line_names.h: the names of the one-line decoding, as tables. Protocol texts: never translated.
#pragma once

#include <QLatin1String>

#include <cstdint>

/// The parts of bmRequestType.
namespace request_type {

inline constexpr bool isIn(std::uint8_t bits)
{
    return (bits & 0x80) != 0;
}
/// 0 standard, 1 class, 2 vendor, 3 reserved.
inline constexpr std::uint8_t type(std::uint8_t bits)
{
    return (bits >> 5) & 0x03;
}
/// 0 device, 1 interface, 2 endpoint, 3 other, above reserved.
inline constexpr std::uint8_t recipient(std::uint8_t bits)
{
    return bits & 0x1F;
}

} // namespace request_type

inline constexpr std::uint8_t kGetDescriptor = 6;

/// Short names for the one-line decoding.
namespace line_names {

QLatin1String direction(bool in);
/// A reserved type (3) shows the name of the first recipient.
QLatin1String type(std::uint8_t type);
/// Of the two low bits of `recipient`.
QLatin1String recipient(std::uint8_t recipient);
/// Empty for codes of 13 and above.
QLatin1String standardRequest(std::uint8_t request);
/// Empty when the type has no name.
QLatin1String descriptorType(std::uint8_t type);
/// USB Video Class request codes; empty when the code has no name.
QLatin1String classRequest(std::uint8_t request);

} // namespace line_names
