// field_rows.h: rows of a row of fields, as tables tell them.
#pragma once

#include "capture/decode/detail_row.h"

#include <QByteArray>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

/// The name of a number, null when it has none.
using NameOf = const char* (*)(std::uint32_t);

struct NamedNumber
{
    std::uint32_t number;
    const char* name;
};

/// The name of `number` in `Table`, which is ordered by number.
template<const auto& Table>
const char* nameIn(std::uint32_t number)
{
    const auto* found =
        std::lower_bound(std::begin(Table), std::end(Table), number,
                         [](const NamedNumber& entry, std::uint32_t wanted) { return entry.number < wanted; });
    return found != std::end(Table) && found->number == number ? found->name : nullptr;
}

enum class FieldForm : std::uint8_t
{
    Decimal,
    Count, ///< decimal, and how many of a field follow later
    Hex,
    Version,    ///< binary coded decimal: "2.10"
    Bytes,      ///< hexadecimal pairs
    FourCode,   ///< a GUID that begins with four letters
    Address,    ///< of an endpoint: "0x81 (IN)"
    Extent,     ///< width and height, two bytes each
    BigDecimal, ///< big-endian
    BigHex,     ///< big-endian
};

enum class FieldRepeat : std::uint8_t
{
    Once,
    Counted,   ///< as often as the Count before says
    SizedOnce, ///< once, of as many bytes as the Count before says
    Sized,     ///< of as many bytes as the Count before says, as often as there is room for before the fields behind
    ToEnd,     ///< as often as there is room for before the fields behind
    Range,     ///< as often as the Count before says; when it says 0, as often as there is room for
};

struct Field
{
    const char* name;
    std::uint8_t size; ///< bytes, little-endian
    FieldForm form = FieldForm::Decimal;
    NameOf nameOf = nullptr;
    FieldRepeat repeat = FieldRepeat::Once;
};

/// Walks over the fields of a piece of a packet. Never reads beyond its end: fields that are not there get no rows.
class FieldRows
{
public:
    /// `bytes`: of the whole part, which outlive this. Looked at are those from `begin` to `end`.
    FieldRows(const QByteArray& bytes, ByteSpan::Part part, int begin, int end)
        : m_bytes(bytes)
        , m_part(part)
        , m_place(begin)
        , m_end(std::min(end, bytes.size()))
    {}

    int left() const { return std::max(m_end - m_place, 0); }
    /// What a field at this distance from here says, 0 beyond the end.
    std::uint32_t peek(int distance, int size) const;

    void add(DetailRow& parent, std::span<const Field> fields);
    /// The row of one field; null when there are too few bytes.
    DetailRow* addField(DetailRow& parent, const Field& field);
    /// A row with the bytes that are left, when there are any.
    void addRest(DetailRow& parent, const char* name);

private:
    void addRepeated(DetailRow& parent, const Field& field, int behind);
    QString valueOf(const Field& field, int size) const;

    const QByteArray& m_bytes;
    ByteSpan::Part m_part;
    int m_place;
    int m_end;
    std::uint32_t m_count = 0; // that the last Count said
};
