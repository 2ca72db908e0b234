// descriptor_forms.h: the fields of descriptors behind their length and type, as tables (USB 2.0 and 3.2 chapter 9,
// Video 1.5, Audio 1.0 and 2.0, HID 1.11).
#pragma once

#include "capture/decode/class_names.h"
#include "capture/decode/field_rows.h"

struct DescriptorForm
{
    std::uint32_t number; ///< the type; of a class's descriptors, the subtype
    const char* name;
    std::span<const Field> fields;
};

namespace descriptor_type {

enum Code : std::uint8_t
{
    Device = 1,
    Configuration = 2,
    String = 3,
    Interface = 4,
    Endpoint = 5,
    OtherSpeed = 7,
    Bos = 15,
    Capability = 16,
    Hid = 0x21,
    Report = 0x22,
    ClassInterface = 0x24,
    ClassEndpoint = 0x25,
};

} // namespace descriptor_type

/// The form that these bytes have beside interfaces of this kind. Null when it has none here. Fields of a class's
/// descriptors begin behind the subtype.
const DescriptorForm* standardForm(std::uint8_t type);
/// The form of a capability of a BOS, by bDevCapabilityType, whose fields begin behind it.
const DescriptorForm* capabilityForm(std::uint8_t type);
const DescriptorForm* videoForm(std::uint8_t type, std::uint8_t subtype, const InterfaceKind& interface);
const DescriptorForm* audioForm(std::uint8_t type, std::uint8_t subtype, const InterfaceKind& interface);

/// By number, null when it is not there.
const DescriptorForm* formIn(std::span<const DescriptorForm> forms, std::uint32_t number);
