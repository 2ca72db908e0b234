// protocol_names.h: the names that decoded packets are shown with, as tables. Protocol texts: never translated.
#pragma once

#include <QLatin1String>
#include <QString>

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

/// Long names for the detail view.
namespace detail_names {

QLatin1String direction(bool in);
QLatin1String requestType(std::uint8_t type);
QString recipient(std::uint8_t recipient);
QLatin1String standardRequest(std::uint8_t request);
QString descriptorType(std::uint8_t type);
/// Name of a SCSI operation. Codes 0x37, 0x3B, 0x42 and 0x83 are named otherwise than SCSI names them, on purpose.
QString scsiOperation(std::uint8_t code);
QLatin1String transferType(std::uint8_t type);

} // namespace detail_names
