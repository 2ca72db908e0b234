#include "capture/channel/line_names.h"

#include "capture/channel/named_code.h"

#include <array>

namespace {

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
