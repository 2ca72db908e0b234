#include "emulation/hid/report_descriptor.h"

#include <array>

namespace hid {

namespace {

// Tag and type of an item's first byte, without the size of its data (HID 1.11, 6.2.2.4 to 6.2.2.8).
constexpr std::uint8_t kInput = 0x80;
constexpr std::uint8_t kOutput = 0x90;
constexpr std::uint8_t kCollection = 0xA0;
constexpr std::uint8_t kFeature = 0xB0;
constexpr std::uint8_t kEndCollection = 0xC0;
constexpr std::uint8_t kUsagePage = 0x04;
constexpr std::uint8_t kLogicalMinimum = 0x14;
constexpr std::uint8_t kLogicalMaximum = 0x24;
constexpr std::uint8_t kReportSize = 0x74;
constexpr std::uint8_t kReportCount = 0x94;
constexpr std::uint8_t kUsage = 0x08;
constexpr std::uint8_t kUsageMinimum = 0x18;
constexpr std::uint8_t kUsageMaximum = 0x28;

/// What is known of a descriptor that is read up to some item.
class Measurement
{
public:
    /// A sentence when the item is wrong.
    QString take(std::uint8_t tagAndType, std::uint32_t value)
    {
        switch (tagAndType) {
        case kReportSize:
            m_fieldBits = value;
            return {};
        case kReportCount:
            m_fieldCount = value;
            return {};
        case kCollection:
            ++m_depth;
            return {};
        case kEndCollection:
            return --m_depth < 0 ? QStringLiteral("A collection ends that never began.") : QString();
        case kInput:
            return addFields(m_bits[0]);
        case kOutput:
            return addFields(m_bits[1]);
        case kFeature:
            return addFields(m_bits[2]);
        default:
            return {};
        }
    }

    Outcome<ReportSizes> result() const
    {
        if (m_depth > 0)
            return Fault{QStringLiteral("A collection is not closed.")};
        if (m_bits == decltype(m_bits){})
            return Fault{QStringLiteral("There are no fields.")};
        for (const std::uint64_t bits : m_bits)
            if (bits % 8 != 0)
                return Fault{QStringLiteral("A report of %1 bits ends inside a byte.").arg(bits)};
        return ReportSizes{int(m_bits[0] / 8), int(m_bits[1] / 8), int(m_bits[2] / 8)};
    }

private:
    QString addFields(std::uint64_t& bits)
    {
        constexpr std::uint64_t kMostBits = 8 * 0xFFFF;
        if (m_depth == 0)
            return QStringLiteral("Fields stand outside every collection.");
        if (m_fieldBits == 0 || m_fieldCount == 0)
            return QStringLiteral("Fields have no size or no count.");
        bits += std::uint64_t{m_fieldBits} * m_fieldCount;
        return bits > kMostBits ? QStringLiteral("A report is longer than 65,535 bytes.") : QString();
    }

    std::uint32_t m_fieldBits = 0;
    std::uint32_t m_fieldCount = 0;
    int m_depth = 0;
    std::array<std::uint64_t, 3> m_bits = {}; ///< input, output, feature
};

} // namespace

ReportDescriptorWriter& ReportDescriptorWriter::usagePage(UsagePage page)
{
    return unsignedItem(kUsagePage, std::uint16_t(page));
}

ReportDescriptorWriter& ReportDescriptorWriter::usage(std::uint16_t usage)
{
    return unsignedItem(kUsage, usage);
}

ReportDescriptorWriter& ReportDescriptorWriter::usageRange(std::uint16_t first, std::uint16_t last)
{
    return unsignedItem(kUsageMinimum, first).unsignedItem(kUsageMaximum, last);
}

ReportDescriptorWriter& ReportDescriptorWriter::logicalRange(std::int32_t lowest, std::int32_t highest)
{
    return signedItem(kLogicalMinimum, lowest).signedItem(kLogicalMaximum, highest);
}

ReportDescriptorWriter& ReportDescriptorWriter::fields(std::uint8_t count, std::uint8_t bits)
{
    return unsignedItem(kReportCount, count).unsignedItem(kReportSize, bits);
}

ReportDescriptorWriter& ReportDescriptorWriter::input(int flags)
{
    return unsignedItem(kInput, std::uint32_t(flags));
}

ReportDescriptorWriter& ReportDescriptorWriter::output(int flags)
{
    return unsignedItem(kOutput, std::uint32_t(flags));
}

ReportDescriptorWriter& ReportDescriptorWriter::begin(Collection kind)
{
    return unsignedItem(kCollection, std::uint8_t(kind));
}

ReportDescriptorWriter& ReportDescriptorWriter::end()
{
    return item(kEndCollection, 0, 0);
}

ReportDescriptorWriter& ReportDescriptorWriter::unsignedItem(std::uint8_t tagAndType, std::uint32_t value)
{
    return item(tagAndType, value, value <= 0xFF ? 1 : value <= 0xFFFF ? 2 : 4);
}

ReportDescriptorWriter& ReportDescriptorWriter::signedItem(std::uint8_t tagAndType, std::int32_t value)
{
    const bool fitsOne = value >= INT8_MIN && value <= INT8_MAX;
    const bool fitsTwo = value >= INT16_MIN && value <= INT16_MAX;
    return item(tagAndType, std::uint32_t(value), fitsOne ? 1 : fitsTwo ? 2 : 4);
}

ReportDescriptorWriter& ReportDescriptorWriter::item(std::uint8_t tagAndType, std::uint32_t value, int size)
{
    m_bytes += char(tagAndType | (size == 4 ? 3 : size));
    for (int byte = 0; byte < size; ++byte)
        m_bytes += char(value >> 8 * byte);
    return *this;
}

Outcome<ReportSizes> reportSizes(const QByteArray& descriptor)
{
    Measurement measurement;
    int position = 0;
    while (position < descriptor.size()) {
        const auto prefix = std::uint8_t(descriptor[position++]);
        const int size = (prefix & 3) == 3 ? 4 : prefix & 3;
        if (size > descriptor.size() - position)
            return Fault{QStringLiteral("The last item is cut short.")};
        std::uint32_t value = 0;
        for (int byte = 0; byte < size; ++byte)
            value |= std::uint32_t(std::uint8_t(descriptor[position++])) << 8 * byte;
        const QString fault = measurement.take(prefix & 0xFC, value);
        if (!fault.isEmpty())
            return Fault{fault};
    }
    return measurement.result();
}

} // namespace hid
