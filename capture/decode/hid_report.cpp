#include "capture/decode/hid_report.h"

#include "capture/decode/field_rows.h"
#include "capture/decode/hex_text.h"
#include "capture/decode/hid_usages.h"

namespace {

constexpr std::size_t kMostFields = 1000;
constexpr std::size_t kMostUsages = 4096;
constexpr std::size_t kMostSaved = 16; // states that Push keeps
constexpr int kMostBits = 65535 * 8;   // of a report
constexpr int kMostRows = 256;         // of a report

/// Type and tag of an item, as its first byte has them without the size.
enum Item : std::uint8_t
{
    InputItem = 0x80,
    OutputItem = 0x90,
    CollectionItem = 0xA0,
    FeatureItem = 0xB0,
    EndCollectionItem = 0xC0,
    UsagePage = 0x04,
    LogicalMinimum = 0x14,
    ReportSize = 0x74,
    ReportId = 0x84,
    ReportCount = 0x94,
    Push = 0xA4,
    Pop = 0xB4,
    Usage = 0x08,
    UsageMinimum = 0x18,
    UsageMaximum = 0x28,
};

constexpr std::uint8_t kLongItem = 0xFE;

constexpr NamedNumber kItems[] = {
    {0x04, "Usage Page"},
    {0x08, "Usage"},
    {0x14, "Logical Minimum"},
    {0x18, "Usage Minimum"},
    {0x24, "Logical Maximum"},
    {0x28, "Usage Maximum"},
    {0x34, "Physical Minimum"},
    {0x38, "Designator Index"},
    {0x44, "Physical Maximum"},
    {0x48, "Designator Minimum"},
    {0x54, "Unit Exponent"},
    {0x58, "Designator Maximum"},
    {0x64, "Unit"},
    {0x74, "Report Size"},
    {0x78, "String Index"},
    {0x80, "Input"},
    {0x84, "Report ID"},
    {0x88, "String Minimum"},
    {0x90, "Output"},
    {0x94, "Report Count"},
    {0x98, "String Maximum"},
    {0xA0, "Collection"},
    {0xA4, "Push"},
    {0xA8, "Delimiter"},
    {0xB0, "Feature"},
    {0xB4, "Pop"},
    {0xC0, "End Collection"},
};

constexpr NamedNumber kCollections[] = {
    {0, "Physical"},    {1, "Application"},  {2, "Logical"},        {3, "Report"},
    {4, "Named Array"}, {5, "Usage Switch"}, {6, "Usage Modifier"},
};

struct ItemAt
{
    std::uint8_t item = 0;
    int offset = 0;
    int size = 0; // with its first byte
    std::uint32_t value = 0;
    std::int32_t signedValue = 0;
};

/// Goes through the short items; long ones, which nothing uses, come as such.
class Items
{
public:
    explicit Items(const QByteArray& bytes) : m_bytes(bytes) {}

    bool next(ItemAt& item)
    {
        if (m_place >= m_bytes.size())
            return false;
        const auto first = static_cast<std::uint8_t>(m_bytes.at(m_place));
        const int code = first & 3;
        int data = code == 3 ? 4 : code;
        if (first == kLongItem)
            data = m_place + 1 < m_bytes.size() ? 2 + static_cast<std::uint8_t>(m_bytes.at(m_place + 1)) : 2;
        if (m_place + 1 + data > m_bytes.size())
            return false;
        item = {static_cast<std::uint8_t>(first & 0xFC), m_place, 1 + data, 0, 0};
        for (int byte = first == kLongItem ? -1 : data - 1; byte >= 0; --byte)
            item.value = item.value << 8 | static_cast<std::uint8_t>(m_bytes.at(m_place + 1 + byte));
        item.signedValue = static_cast<std::int32_t>(item.value);
        if (data == 1)
            item.signedValue = static_cast<std::int8_t>(item.value);
        else if (data == 2)
            item.signedValue = static_cast<std::int16_t>(item.value);
        m_place += 1 + data;
        return true;
    }

private:
    const QByteArray& m_bytes;
    int m_place = 0;
};

struct Globals
{
    std::uint32_t page = 0;
    std::int32_t logicalMinimum = 0;
    std::uint32_t size = 0; // bits
    std::uint32_t count = 0;
    std::uint8_t reportId = 0;
};

class FormReader
{
public:
    HidReportForm read(const QByteArray& descriptor)
    {
        Items items(descriptor);
        for (ItemAt item; items.next(item) && m_form.fields.size() < kMostFields;)
            take(item);
        return std::move(m_form);
    }

private:
    void take(const ItemAt& item)
    {
        switch (item.item) {
        case UsagePage:
            m_globals.page = item.value & 0xFFFF;
            return;
        case LogicalMinimum:
            m_globals.logicalMinimum = item.signedValue;
            return;
        case ReportSize:
            m_globals.size = item.value;
            return;
        case ReportCount:
            m_globals.count = item.value;
            return;
        case ReportId:
            m_globals.reportId = static_cast<std::uint8_t>(item.value);
            m_form.hasReportIds = true;
            return;
        case Push:
            if (m_saved.size() < kMostSaved)
                m_saved.push_back(m_globals);
            return;
        case Pop:
            if (!m_saved.empty()) {
                m_globals = m_saved.back();
                m_saved.pop_back();
            }
            return;
        case Usage:
            addUsage(usageOf(item));
            return;
        case UsageMinimum:
            m_usageMinimum = usageOf(item);
            return;
        case UsageMaximum:
            for (std::uint32_t usage = m_usageMinimum; usage <= usageOf(item) && addUsage(usage); ++usage)
                continue;
            return;
        default:
            return takeMain(item);
        }
    }

    std::uint32_t usageOf(const ItemAt& item) const
    {
        return item.size == 5 ? item.value : m_globals.page << 16 | (item.value & 0xFFFF);
    }

    bool addUsage(std::uint32_t usage)
    {
        if (m_usageCount >= kMostUsages)
            return false;
        ++m_usageCount;
        m_usages.push_back(usage);
        return true;
    }

    void takeMain(const ItemAt& item)
    {
        if (item.item == InputItem)
            addField(HidReportKind::Input, item.value);
        else if (item.item == OutputItem)
            addField(HidReportKind::Output, item.value);
        else if (item.item == FeatureItem)
            addField(HidReportKind::Feature, item.value);
        else if (item.item == CollectionItem && m_form.firstUsage == 0 && !m_usages.empty())
            m_form.firstUsage = m_usages.front();
        if (item.item >= InputItem && (item.item & 0x0C) == 0)
            m_usages.clear();
    }

    void addField(HidReportKind kind, std::uint32_t flags)
    {
        const quint64 bits = quint64(m_globals.size) * m_globals.count;
        int& end = m_ends[static_cast<std::size_t>(kind)][m_globals.reportId];
        if (m_globals.size == 0 || m_globals.size > 32 || bits + quint64(end) > kMostBits)
            return;
        HidField field;
        field.kind = kind;
        field.reportId = m_globals.reportId;
        field.bit = end;
        field.bitSize = static_cast<int>(m_globals.size);
        field.count = static_cast<int>(m_globals.count);
        field.isConstant = (flags & 1) != 0;
        field.isVariable = (flags & 2) != 0;
        field.logicalMinimum = m_globals.logicalMinimum;
        field.usages = m_usages;
        end += static_cast<int>(bits);
        m_form.fields.push_back(std::move(field));
    }

    HidReportForm m_form;
    Globals m_globals;
    std::vector<Globals> m_saved;
    std::vector<std::uint32_t> m_usages;
    std::size_t m_usageCount = 0; // of all fields together
    std::uint32_t m_usageMinimum = 0;
    int m_ends[3][256] = {}; // bits, by kind and report id
};

std::uint32_t bitsAt(const QByteArray& bytes, int bit, int size)
{
    std::uint64_t value = 0;
    for (int byte = (bit + size - 1) / 8; byte >= bit / 8; --byte)
        value = value << 8 | static_cast<std::uint8_t>(bytes.at(byte));
    return static_cast<std::uint32_t>(value >> (bit % 8) & ((std::uint64_t(1) << size) - 1));
}

std::int64_t valueOf(const HidField& field, std::uint32_t bits)
{
    const bool negative = field.logicalMinimum < 0 && (bits >> (field.bitSize - 1) & 1) != 0;
    return negative ? std::int64_t(bits) - (std::int64_t(1) << field.bitSize) : std::int64_t(bits);
}

QString usageText(const HidField& field, std::size_t index)
{
    if (field.usages.empty())
        return QStringLiteral("Data");
    return hid_usage::name(field.usages[std::min(index, field.usages.size() - 1)]);
}

/// What the value of an array's element stands for; empty for none.
QString selectedText(const HidField& field, std::int64_t value)
{
    const std::int64_t index = value - field.logicalMinimum;
    if (value == 0 || index < 0 || index >= std::int64_t(field.usages.size()))
        return {};
    return usageText(field, static_cast<std::size_t>(index));
}

} // namespace

HidReportForm HidReportForm::of(const QByteArray& descriptor)
{
    return FormReader().read(descriptor);
}

void addReportDescriptor(const QByteArray& data, DetailRow& parent)
{
    DetailRow& group = parent.add(QStringLiteral("HID Report Descriptor"), {}, {ByteSpan::Part::Data, 0, data.size()});
    Items items(data);
    int depth = 0;
    std::uint32_t page = 0;
    for (ItemAt item; items.next(item) && group.children.size() < kMostFields;) {
        if (item.item == EndCollectionItem)
            depth = std::max(depth - 1, 0);
        const char* name = nameIn<kItems>(item.item);
        QString value = item.size > 1 ? QString::number(item.signedValue) : QString();
        if (item.item == UsagePage) {
            page = item.value & 0xFFFF;
            value = hid_usage::pageName(page);
        } else if (item.item == Usage || item.item == UsageMinimum || item.item == UsageMaximum) {
            value = hid_usage::name(item.size == 5 ? item.value : page << 16 | (item.value & 0xFFFF));
        } else if (item.item == CollectionItem) {
            const char* kind = nameIn<kCollections>(item.value);
            value = kind ? QString(QLatin1String(kind)) : hexNumber(item.value, 2);
        } else if (item.item == InputItem || item.item == OutputItem || item.item == FeatureItem) {
            value = (item.value & 1) != 0   ? QStringLiteral("Constant")
                    : (item.value & 2) != 0 ? QStringLiteral("Data, Variable")
                                            : QStringLiteral("Data, Array");
            if ((item.value & 4) != 0)
                value += QStringLiteral(", Relative");
        }
        group.add(QString(2 * std::min(depth, 16), QLatin1Char(' ')) +
                      (name ? QString(QLatin1String(name)) : hexNumber(item.item, 2)),
                  value, {ByteSpan::Part::Data, item.offset, item.size});
        if (item.item == CollectionItem)
            ++depth;
    }
}

HidReportText hidReportText(const QByteArray& data, const HidReportForm& form, HidReportKind kind)
{
    HidReportText text;
    const int idSize = form.hasReportIds ? 1 : 0;
    if (data.size() < idSize)
        return text;
    const std::uint8_t id = form.hasReportIds ? static_cast<std::uint8_t>(data.at(0)) : std::uint8_t(0);
    if (form.hasReportIds)
        text.rows.add(QStringLiteral("Report ID"), QString::number(id), {ByteSpan::Part::Data, 0, 1});
    for (const HidField& field : form.fields) {
        if (field.kind != kind || field.reportId != id || field.isConstant)
            continue;
        for (int index = 0; index < field.count; ++index) {
            const int bit = 8 * idSize + field.bit + index * field.bitSize;
            if (bit + field.bitSize > 8 * data.size() || text.rows.children.size() >= kMostRows)
                return text;
            const std::int64_t value = valueOf(field, bitsAt(data, bit, field.bitSize));
            const ByteSpan bytes{ByteSpan::Part::Data, bit / 8, (bit + field.bitSize - 1) / 8 - bit / 8 + 1};
            const QString selected = field.isVariable ? QString() : selectedText(field, value);
            const QString name = field.isVariable ? usageText(field, std::size_t(index)) : QStringLiteral("Selected");
            const QString number = QString::number(value);
            text.rows.add(name, selected.isEmpty() ? number : QStringLiteral("%1 (%2)").arg(number, selected), bytes);
            if (!selected.isEmpty())
                text.active << selected;
            else if (value != 0 && field.isVariable)
                text.active << (field.bitSize == 1 ? name : QStringLiteral("%1 %2").arg(name, number));
        }
    }
    return text;
}
