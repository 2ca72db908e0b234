#include "capture/decode/class_names.h"

#include "capture/decode/field_rows.h"

namespace {

constexpr NamedNumber kClasses[] = {
    {0x00, "by interface"},
    {0x01, "Audio"},
    {0x02, "Communications"},
    {0x03, "HID"},
    {0x05, "Physical"},
    {0x06, "Still Image"},
    {0x07, "Printer"},
    {0x08, "Mass Storage"},
    {0x09, "Hub"},
    {0x0A, "CDC Data"},
    {0x0B, "Smart Card"},
    {0x0D, "Content Security"},
    {0x0E, "Video"},
    {0x0F, "Healthcare"},
    {0x10, "Audio/Video"},
    {0x11, "Billboard"},
    {0xDC, "Diagnostic"},
    {0xE0, "Wireless"},
    {0xEF, "Miscellaneous"},
    {0xFE, "Application Specific"},
    {0xFF, "Vendor Specific"},
};

struct NamedSubclass
{
    std::uint8_t classCode;
    std::uint8_t subclass;
    const char* name;
};

constexpr NamedSubclass kSubclasses[] = {
    {0x01, 1, "Audio Control"}, {0x01, 2, "Audio Streaming"}, {0x01, 3, "MIDI Streaming"},  {0x03, 1, "Boot"},
    {0x08, 6, "SCSI"},          {0x0E, 1, "Video Control"},   {0x0E, 2, "Video Streaming"},
};

} // namespace

const char* usb_class::name(std::uint32_t classCode)
{
    return nameIn<kClasses>(classCode);
}

const char* usb_class::subclassName(std::uint8_t classCode, std::uint8_t subclass)
{
    const auto* found = std::find_if(std::begin(kSubclasses), std::end(kSubclasses), [&](const NamedSubclass& entry) {
        return entry.classCode == classCode && entry.subclass == subclass;
    });
    return found == std::end(kSubclasses) ? nullptr : found->name;
}
