#include "capture/decode/detail_names.h"

#include "capture/channel/named_code.h"

#include <array>

namespace {

QString unknownCode(const char* word, std::uint8_t code)
{
    return QStringLiteral("%1 (0x%2)").arg(QLatin1String(word)).arg(code, 2, 16, QLatin1Char('0'));
}

constexpr NamedCode kDetailRequests[] = {
    {0, "GET_STATUS"},     {1, "CLEAR_FEATURE"},  {3, "SET_FEATURE"},       {5, "SET_ADDRESS"},
    {6, "GET_DESCRIPTOR"}, {7, "SET_DESCRIPTOR"}, {8, "GET_CONFIGURATION"}, {9, "SET_CONFIGURATION"},
    {10, "GET_INTERFACE"}, {11, "SET_INTERFACE"}, {12, "SYNCH_FRAME"},
};

constexpr NamedCode kDetailDescriptorTypes[] = {
    {1, "DEVICE"},
    {2, "CONFIGURATION"},
    {3, "STRING"},
    {4, "INTERFACE"},
    {5, "ENDPOINT"},
    {6, "DEVICE_QUALIFIER"},
    {7, "OTHER_SPEED_CONFIGURATION"},
    {8, "INTERFACE_POWER"},
};

constexpr NamedCode kScsiOperations[] = {
    {0x00, "TEST UNIT READY"},    {0x01, "REZERO UNIT"},      {0x03, "REQUEST SENSE"},
    {0x08, "READ (6)"},           {0x0A, "WRITE (6)"},        {0x12, "INQUIRY"},
    {0x1A, "MODE SENSE (6)"},     {0x1B, "START/STOP UNIT"},  {0x1E, "PREVENT/ALLOW MEDIUM REMOVAL"},
    {0x25, "READ CAPACITY (10)"}, {0x28, "READ (10)"},        {0x2A, "WRITE (10)"},
    {0x2F, "VERIFY (10)"},        {0x37, "MODE SELECT (10)"}, {0x3B, "SEND DIAGNOSTIC"},
    {0x42, "READ CAPACITY (16)"}, {0x83, "READ (16)"},        {0x8A, "WRITE (16)"},
};

} // namespace

QLatin1String detail_names::direction(bool in)
{
    return QLatin1String(in ? "IN (Device to Host)" : "OUT (Host to Device)");
}

QLatin1String detail_names::requestType(std::uint8_t type)
{
    static constexpr std::array<const char*, 4> kNames{"Standard", "Class", "Vendor", "Reserved"};
    return QLatin1String(kNames[type & 0x03]);
}

QString detail_names::recipient(std::uint8_t recipient)
{
    static constexpr std::array<const char*, 4> kNames{"Device", "Interface", "Endpoint", "Other"};
    return recipient < kNames.size() ? QString(QLatin1String(kNames[recipient])) : unknownCode("Reserved", recipient);
}

QLatin1String detail_names::standardRequest(std::uint8_t request)
{
    const char* name = nameOf(kDetailRequests, request);
    return QLatin1String(name ? name : "Unknown");
}

QString detail_names::descriptorType(std::uint8_t type)
{
    const char* name = nameOf(kDetailDescriptorTypes, type);
    return name ? QString(QLatin1String(name)) : unknownCode("Unknown", type);
}

QString detail_names::scsiOperation(std::uint8_t code)
{
    const char* name = nameOf(kScsiOperations, code);
    return name ? QString(QLatin1String(name)) : unknownCode("Unknown", code);
}

QLatin1String detail_names::transferType(std::uint8_t type)
{
    static constexpr std::array<const char*, 4> kNames{"CONTROL", "ISOCHRONOUS", "BULK", "INTERRUPT"};
    return QLatin1String(type < kNames.size() ? kNames[type] : "UNKNOWN");
}
