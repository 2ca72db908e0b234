#include "capture/decode/field_rows.h"

#include "capture/decode/hex_text.h"

namespace {

constexpr int kHexLimit = 128;     // bytes
constexpr int kMostRepeated = 256; // rows of one field

/// Bytes that the fields of a descriptor's end take.
int sizeBehind(std::span<const Field> fields)
{
    int size = 0;
    for (const Field& field : fields)
        size += field.repeat == FieldRepeat::Once ? field.size : 0;
    return size;
}

QString versionText(std::uint32_t version)
{
    return QStringLiteral("%1.%2").arg(version >> 8, 0, 16).arg(version & 0xFF, 2, 16, QLatin1Char('0'));
}

/// With its `size` bytes the other way round.
std::uint32_t swapped(std::uint32_t value, int size)
{
    std::uint32_t other = 0;
    for (int byte = 0; byte < size; ++byte, value >>= 8)
        other = other << 8 | (value & 0xFF);
    return other;
}

} // namespace

std::uint32_t FieldRows::peek(int distance, int size) const
{
    std::uint32_t value = 0;
    for (int byte = std::min(size, 4) - 1; byte >= 0; --byte) {
        const int place = m_place + distance + byte;
        value = value << 8 | (place < m_end ? static_cast<std::uint8_t>(m_bytes.at(place)) : 0U);
    }
    return value;
}

void FieldRows::add(DetailRow& parent, std::span<const Field> fields)
{
    for (std::size_t index = 0; index < fields.size(); ++index) {
        const Field& field = fields[index];
        if (field.repeat == FieldRepeat::Once)
            addField(parent, field);
        else
            addRepeated(parent, field, sizeBehind(fields.subspan(index + 1)));
    }
}

void FieldRows::addRepeated(DetailRow& parent, const Field& field, int behind)
{
    Field one = field;
    const bool sized = field.repeat == FieldRepeat::Sized || field.repeat == FieldRepeat::SizedOnce;
    if (sized)
        one.size = static_cast<std::uint8_t>(std::min(m_count, 255U));
    const int room = one.size == 0 ? 0 : std::max(left() - behind, 0) / one.size;
    int times = std::min(room, kMostRepeated);
    if (field.repeat == FieldRepeat::SizedOnce)
        times = std::min(times, 1);
    else if (field.repeat == FieldRepeat::Counted || (field.repeat == FieldRepeat::Range && m_count > 0))
        times = static_cast<int>(std::min(m_count, static_cast<std::uint32_t>(times)));
    for (int time = 0; time < times; ++time)
        addField(parent, one);
}

DetailRow* FieldRows::addField(DetailRow& parent, const Field& field)
{
    const int size = field.size;
    if (left() < size) {
        m_place = m_end; // the rest of a field is no other field
        return nullptr;
    }
    DetailRow& row = parent.add(QString::fromLatin1(field.name), valueOf(field, size), {m_part, m_place, size});
    if (field.form == FieldForm::Count)
        m_count = peek(0, size);
    m_place += size;
    return &row;
}

QString FieldRows::valueOf(const Field& field, int size) const
{
    const bool bigEndian = field.form == FieldForm::BigDecimal || field.form == FieldForm::BigHex;
    const std::uint32_t value = bigEndian ? swapped(peek(0, size), size) : peek(0, size);
    const char* name = field.nameOf ? field.nameOf(value) : nullptr;
    const QString behind = name ? QStringLiteral(" (%1)").arg(QLatin1String(name)) : QString();
    switch (field.form) {
    case FieldForm::Decimal:
    case FieldForm::Count:
    case FieldForm::BigDecimal:
        return QString::number(value) + behind;
    case FieldForm::Version:
        return versionText(value);
    case FieldForm::Address:
        return hexNumber(value, 2) + ((value & 0x80) != 0 ? QLatin1String(" (IN)") : QLatin1String(" (OUT)"));
    case FieldForm::Extent:
        return QStringLiteral("%1 x %2").arg(value & 0xFFFF).arg(value >> 16);
    case FieldForm::FourCode: {
        const QByteArray code = m_bytes.mid(m_place, 4);
        const bool letters = std::all_of(code.begin(), code.end(), [](char c) { return c > 0x20 && c < 0x7F; });
        const QString bytes = hexText(m_bytes.mid(m_place, size), kHexLimit);
        return letters ? QStringLiteral("%1 (%2)").arg(QString::fromLatin1(code), bytes) : bytes;
    }
    case FieldForm::Hex:
    case FieldForm::BigHex:
        if (size <= 4)
            return hexNumber(value, 2 * size) + behind;
        break;
    case FieldForm::Bytes:
        break;
    }
    return hexText(m_bytes.mid(m_place, size), kHexLimit) + behind;
}

void FieldRows::addRest(DetailRow& parent, const char* name)
{
    const int size = left();
    if (size > 0)
        parent.add(QString::fromLatin1(name), hexText(m_bytes.mid(m_place, size), kHexLimit), {m_part, m_place, size});
    m_place = m_end;
}
