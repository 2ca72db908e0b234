// detail_names.h: the names of the detail view, as tables. Protocol texts: never translated.
#pragma once

#include <QLatin1String>
#include <QString>

#include <cstdint>

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
