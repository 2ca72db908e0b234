#include "capture/protocol_names.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace {

struct NamedCode
{
    std::uint8_t code;
    const char* name;
};

/// The name of `code` in a table ordered by code; null when it has none.
template<std::size_t N>
const char* nameOf(const NamedCode (&table)[N], std::uint8_t code)
{
    const auto* found =
        std::lower_bound(std::begin(table), std::end(table), code,
                         [](const NamedCode& entry, std::uint8_t wanted) { return entry.code < wanted; });
    return found != std::end(table) && found->code == code ? found->name : nullptr;
}

QString unknownCode(const char* word, std::uint8_t code)
{
    return QStringLiteral("%1 (0x%2)").arg(QLatin1String(word)).arg(code, 2, 16, QLatin1Char('0'));
}

constexpr std::array<const char*, 4> kRecipients{"TO_DEV", "TO_INF", "TO_EPT", "TO_OTH"};

constexpr std::array<const char*, 4> kTypes{"STD", "CLS", "VEN", kRecipients[0]};

constexpr std::array<const char*, 13> kStandardRequests{"USB_REQUEST_GET_STATUS",
                                                        "USB_REQUEST_CLEAR_FEATURE",
                                                        "22222222222",
                                                        "USB_REQUEST_SET_FEATURE",
                                                        "44444444444",
                                                        "USB_REQUEST_SET_ADDRESS",
                                                        "USB_REQUEST_GET_DESCRIPTOR",
                                                        "USB_REQUEST_SET_DESCRIPTOR",
                                                        "USB_REQUEST_GET_CONFIGURATION",
                                                        "USB_REQUEST_SET_CONFIGURATION",
                                                        "USB_REQUEST_GET_INTERFACE",
                                                        "USB_REQUEST_SET_INTERFACE",
                                                        "USB_REQUEST_SYNC_FRAME"};

constexpr NamedCode kDescriptorTypes[] = {
    {0, "000000"},
    {1, "USB_DEVICE_DESCRIPTOR_TYPE"},
    {2, "USB_CONFIGURATION_DESCRIPTOR_TYPE"},
    {3, "USB_STRING_DESCRIPTOR_TYPE"},
    {4, "USB_INTERFACE_DESCRIPTOR_TYPE"},
    {5, "USB_ENDPOINT_DESCRIPTOR_TYPE"},
    {6, "USB_DEVICE_QUALIFIER_DESCRIPTOR_TYPE"},
    {7, "USB_OTHER_SPEED_CONFIGURATION_DESCRIPTOR_TYPE"},
    {8, "USB_INTERFACE_POWER_DESCRIPTOR_TYPE"},
    {9, "USB_OTG_DESCRIPTOR_TYPE"},
    {10, "USB_DEBUG_DESCRIPTOR_TYPE"},
    {11, "USB_INTERFACE_ASSOCIATION_DESCRIPTOR_TYPE"},
    {12, "0xCCCCCCC"},
    {13, "0xDDDDDDD"},
    {14, "0xEEEEEEE"},
    {15, "USB_BOS_DESCRIPTOR_TYPE"},
    {16, "USB_DEVICE_CAPABILITY_DESCRIPTOR_TYPE"},
    {48, "USB_SUPERSPEED_ENDPOINT_COMPANION_DESCRIPTOR_TYPE"},
};

constexpr NamedCode kClassRequests[] = {
    {0x01, "SET_CUR(0x01)"}, {0x81, "GET_CUR(0x81)"}, {0x82, "GET_MIN(0x82)"}, {0x83, "GET_MAX(0x83)"},
    {0x84, "GET_RES(0x84)"}, {0x85, "GET_LEN(0x85)"}, {0x86, "GET_INF(0x86)"}, {0x87, "GET_DEF(0x87)"},
};

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

QLatin1String line_names::direction(bool in)
{
    return QLatin1String(in ? "INN" : "OUT");
}

QLatin1String line_names::type(std::uint8_t type)
{
    return QLatin1String(kTypes[type & 0x03]);
}

QLatin1String line_names::recipient(std::uint8_t recipient)
{
    return QLatin1String(kRecipients[recipient & 0x03]);
}

QLatin1String line_names::standardRequest(std::uint8_t request)
{
    return QLatin1String(request < kStandardRequests.size() ? kStandardRequests[request] : nullptr);
}

QLatin1String line_names::descriptorType(std::uint8_t type)
{
    return QLatin1String(nameOf(kDescriptorTypes, type));
}

QLatin1String line_names::classRequest(std::uint8_t request)
{
    return QLatin1String(nameOf(kClassRequests, request));
}

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
