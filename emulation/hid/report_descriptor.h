// report_descriptor.h: HID report descriptors (HID 1.11, 6.2.2), written item by item and measured.
#pragma once

#include "emulation/message/outcome.h"

#include <QByteArray>

#include <cstdint>

namespace hid {

enum class UsagePage : std::uint16_t
{
    GenericDesktop = 0x01,
    Keyboard = 0x07,
    Leds = 0x08,
    Buttons = 0x09,
    Fido = 0xF1D0
};

enum class Collection : std::uint8_t
{
    Physical = 0,
    Application = 1
};

/// Bits of Input, Output and Feature items; data, array and absolute are their absence.
enum FieldFlag : std::uint8_t
{
    Constant = 1,
    Variable = 2,
    Relative = 4
};

/// Writes each item in its shortest form.
class ReportDescriptorWriter
{
public:
    ReportDescriptorWriter& usagePage(UsagePage page);
    ReportDescriptorWriter& usage(std::uint16_t usage);
    ReportDescriptorWriter& usageRange(std::uint16_t first, std::uint16_t last);
    ReportDescriptorWriter& logicalRange(std::int32_t lowest, std::int32_t highest);
    /// `count` fields of `bits` bits each, in the items that follow.
    ReportDescriptorWriter& fields(std::uint8_t count, std::uint8_t bits);
    ReportDescriptorWriter& input(int flags);
    ReportDescriptorWriter& output(int flags);
    ReportDescriptorWriter& begin(Collection kind);
    ReportDescriptorWriter& end();

    const QByteArray& bytes() const { return m_bytes; }

private:
    ReportDescriptorWriter& item(std::uint8_t tagAndType, std::uint32_t value, int size);
    ReportDescriptorWriter& unsignedItem(std::uint8_t tagAndType, std::uint32_t value);
    ReportDescriptorWriter& signedItem(std::uint8_t tagAndType, std::int32_t value);

    QByteArray m_bytes;
};

/// Bytes of the reports of a device whose reports have no ids.
struct ReportSizes
{
    int input = 0;
    int output = 0;
    int feature = 0;
};

/// Measures a descriptor, or says what a host would trip over: no fields, an item that is cut short, a collection that
/// is not closed, fields without a size, a report that ends inside a byte.
Outcome<ReportSizes> reportSizes(const QByteArray& descriptor);

} // namespace hid
