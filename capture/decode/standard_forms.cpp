#include "capture/decode/descriptor_forms.h"

namespace {

using enum FieldForm;
using enum FieldRepeat;

constexpr NamedNumber kDescriptorTypes[] = {
    {0x21, "HID"},
    {0x22, "HID report"},
    {0x23, "HID physical"},
};

constexpr Field kDevice[] = {
    {"bcdUSB", 2, Version},      {"bDeviceClass", 1, Hex, usb_class::name},
    {"bDeviceSubClass", 1, Hex}, {"bDeviceProtocol", 1, Hex},
    {"bMaxPacketSize0", 1},      {"idVendor", 2, Hex},
    {"idProduct", 2, Hex},       {"bcdDevice", 2, Version},
    {"iManufacturer", 1},        {"iProduct", 1},
    {"iSerialNumber", 1},        {"bNumConfigurations", 1},
};

constexpr Field kQualifier[] = {
    {"bcdUSB", 2, Version},
    {"bDeviceClass", 1, Hex, usb_class::name},
    {"bDeviceSubClass", 1, Hex},
    {"bDeviceProtocol", 1, Hex},
    {"bMaxPacketSize0", 1},
    {"bNumConfigurations", 1},
    {"bReserved", 1},
};

constexpr Field kConfiguration[] = {
    {"wTotalLength", 2},   {"bNumInterfaces", 1},    {"bConfigurationValue", 1},
    {"iConfiguration", 1}, {"bmAttributes", 1, Hex}, {"bMaxPower", 1},
};

constexpr Field kInterface[] = {
    {"bInterfaceNumber", 1},
    {"bAlternateSetting", 1},
    {"bNumEndpoints", 1},
    {"bInterfaceClass", 1, Hex, usb_class::name},
    {"bInterfaceSubClass", 1, Hex},
    {"bInterfaceProtocol", 1, Hex},
    {"iInterface", 1},
};

const char* endpointAttributes(std::uint32_t attributes)
{
    static constexpr const char* kTypes[] = {"control", "isochronous", "bulk", "interrupt"};
    return kTypes[attributes & 3];
}

constexpr Field kEndpoint[] = {
    {"bEndpointAddress", 1, Address},
    {"bmAttributes", 1, Hex, endpointAttributes},
    {"wMaxPacketSize", 2, Hex},
    {"bInterval", 1},
    {"bRefresh", 1},
    {"bSynchAddress", 1},
};

constexpr Field kAssociation[] = {
    {"bFirstInterface", 1},        {"bInterfaceCount", 1},        {"bFunctionClass", 1, Hex, usb_class::name},
    {"bFunctionSubClass", 1, Hex}, {"bFunctionProtocol", 1, Hex}, {"iFunction", 1},
};

constexpr Field kOtg[] = {{"bmAttributes", 1, Hex}, {"bcdOTG", 2, Version}};

constexpr Field kBos[] = {{"wTotalLength", 2}, {"bNumDeviceCaps", 1}};

constexpr Field kHid[] = {
    {"bcdHID", 2, Version},   {"bCountryCode", 1},
    {"bNumDescriptors", 1},   {"bDescriptorType", 1, Hex, nameIn<kDescriptorTypes>},
    {"wDescriptorLength", 2},
};

constexpr Field kCompanion[] = {{"bMaxBurst", 1}, {"bmAttributes", 1, Hex}, {"wBytesPerInterval", 2}};
constexpr Field kIsochronousCompanion[] = {{"wReserved", 2}, {"dwBytesPerInterval", 4}};

constexpr DescriptorForm kStandard[] = {
    {1, "Device Descriptor", kDevice},
    {2, "Configuration Descriptor", kConfiguration},
    {3, "String Descriptor", {}},
    {4, "Interface Descriptor", kInterface},
    {5, "Endpoint Descriptor", kEndpoint},
    {6, "Device Qualifier Descriptor", kQualifier},
    {7, "Other Speed Configuration Descriptor", kConfiguration},
    {8, "Interface Power Descriptor", {}},
    {9, "OTG Descriptor", kOtg},
    {10, "Debug Descriptor", {}},
    {11, "Interface Association Descriptor", kAssociation},
    {15, "BOS Descriptor", kBos},
    {16, "Device Capability Descriptor", {}},
    {0x21, "HID Descriptor", kHid},
    {0x30, "SuperSpeed Endpoint Companion Descriptor", kCompanion},
    {0x31, "SuperSpeedPlus Isochronous Endpoint Companion Descriptor", kIsochronousCompanion},
};

constexpr Field kUsb2Extension[] = {{"bmAttributes", 4, Hex}};
constexpr Field kSuperSpeed[] = {
    {"bmAttributes", 1, Hex}, {"wSpeedsSupported", 2, Hex}, {"bFunctionalitySupport", 1},
    {"bU1DevExitLat", 1},     {"wU2DevExitLat", 2},
};
constexpr Field kContainer[] = {{"bReserved", 1}, {"ContainerID", 16, Bytes}};
constexpr Field kPlatform[] = {
    {"bReserved", 1}, {"PlatformCapabilityUUID", 16, Bytes}, {"CapabilityData", 1, Bytes, nullptr, ToEnd}};
constexpr Field kSuperSpeedPlus[] = {
    {"bReserved", 1},
    {"bmAttributes", 4, Hex},
    {"wFunctionalitySupport", 2, Hex},
    {"wReserved", 2},
    {"bmSublinkSpeedAttr", 4, Hex, nullptr, ToEnd},
};

constexpr DescriptorForm kCapabilities[] = {
    {2, "USB 2.0 Extension", kUsb2Extension},
    {3, "SuperSpeed USB Device Capability", kSuperSpeed},
    {4, "Container ID", kContainer},
    {5, "Platform", kPlatform},
    {10, "SuperSpeedPlus USB Device Capability", kSuperSpeedPlus},
};

} // namespace

const DescriptorForm* formIn(std::span<const DescriptorForm> forms, std::uint32_t number)
{
    const auto found = std::find_if(forms.begin(), forms.end(),
                                    [number](const DescriptorForm& form) { return form.number == number; });
    return found == forms.end() ? nullptr : &*found;
}

const DescriptorForm* standardForm(std::uint8_t type)
{
    return formIn(kStandard, type);
}

const DescriptorForm* capabilityForm(std::uint8_t type)
{
    return formIn(kCapabilities, type);
}
