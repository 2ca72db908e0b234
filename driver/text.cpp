#include "driver/text.h"

namespace driver {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLastCodePoint = 0x10FFFF;

constexpr bool isSurrogate(char32_t value)
{
    return value >= 0xD800 && value <= 0xDFFF;
}

/// The code point at `position` of 16-bit units or 32-bit characters; moves past it.
template<class Character>
char32_t nextCodePoint(std::basic_string_view<Character> text, std::size_t& position)
{
    const auto first = static_cast<char32_t>(text[position++]);
    if (first >= 0xD800 && first <= 0xDBFF && position < text.size()) {
        const auto second = static_cast<char32_t>(text[position]);
        if (second >= 0xDC00 && second <= 0xDFFF) {
            ++position;
            return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
        }
    }
    return isSurrogate(first) || first > kLastCodePoint ? kReplacement : first;
}

void appendUtf8(std::string& bytes, char32_t point)
{
    if (point < 0x80) {
        bytes += static_cast<char>(point);
        return;
    }
    int shift = point < 0x800 ? 6 : point < 0x10000 ? 12 : 18; // six bits in each byte after the first
    bytes += static_cast<char>((0xFFu << (7 - shift / 6)) | (point >> shift));
    while ((shift -= 6) >= 0)
        bytes += static_cast<char>(0x80 | ((point >> shift) & 0x3F));
}

template<class Text>
void appendUnits(Text& text, char32_t point)
{
    using Character = typename Text::value_type;
    if (sizeof(Character) == 2 && point > 0xFFFF) {
        text += static_cast<Character>(0xD800 + ((point - 0x10000) >> 10));
        text += static_cast<Character>(0xDC00 + ((point - 0x10000) & 0x3FF));
    } else {
        text += static_cast<Character>(point);
    }
}

/// The code point at `position` of UTF-8 text; moves past it, or past one byte where the sequence is ill-formed.
char32_t nextUtf8(std::string_view bytes, std::size_t& position)
{
    const auto lead = static_cast<unsigned char>(bytes[position++]);
    if (lead < 0x80)
        return lead;
    const std::size_t length = lead >= 0xF0 && lead < 0xF5   ? 3
                               : lead >= 0xE0 && lead < 0xF0 ? 2
                               : lead >= 0xC2 && lead < 0xE0 ? 1
                                                             : 0;
    if (length == 0 || bytes.size() - position < length)
        return kReplacement;
    char32_t point = lead & (0x3F >> length);
    for (std::size_t i = 0; i < length; ++i) {
        const auto next = static_cast<unsigned char>(bytes[position + i]);
        if ((next & 0xC0) != 0x80)
            return kReplacement;
        point = point << 6 | (next & 0x3F);
    }
    const bool overlong = (length == 2 && point < 0x800) || (length == 3 && point < 0x10000);
    if (overlong || isSurrogate(point) || point > kLastCodePoint)
        return kReplacement;
    position += length;
    return point;
}

} // namespace

bool equalIgnoringCase(std::wstring_view left, std::wstring_view right)
{
    if (left.size() != right.size())
        return false;
    for (std::size_t i = 0; i < left.size(); ++i)
        if (foldCase(left[i]) != foldCase(right[i]))
            return false;
    return true;
}

std::wstring padded(std::wstring_view text, std::size_t width)
{
    std::wstring result(text);
    if (result.size() < width)
        result.resize(width, L' ');
    return result;
}

std::wstring hexadecimal(std::uint64_t value, std::size_t digits, HexCase letters)
{
    const std::wstring_view alphabet = letters == HexCase::Upper ? L"0123456789ABCDEF" : L"0123456789abcdef";
    std::wstring text;
    while (value != 0 || text.size() < digits) {
        text.insert(text.begin(), alphabet[value & 0xF]);
        value >>= 4;
    }
    return text;
}

std::string toUtf8(std::wstring_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t position = 0; position < text.size();)
        appendUtf8(bytes, nextCodePoint(text, position));
    return bytes;
}

std::u16string toUtf16(std::wstring_view text)
{
    std::u16string units;
    units.reserve(text.size() + 1);
    for (std::size_t position = 0; position < text.size();)
        appendUnits(units, nextCodePoint(text, position));
    return units;
}

std::wstring fromUtf8(std::string_view bytes)
{
    std::wstring text;
    text.reserve(bytes.size());
    for (std::size_t position = 0; position < bytes.size();)
        appendUnits(text, nextUtf8(bytes, position));
    return text;
}

std::wstring fromUtf16(std::u16string_view units)
{
    std::wstring text;
    text.reserve(units.size());
    for (std::size_t position = 0; position < units.size();)
        appendUnits(text, nextCodePoint(units, position));
    return text;
}

std::wstring_view afterLast(std::wstring_view text, std::wstring_view separators)
{
    const std::size_t last = text.find_last_of(separators);
    return last == std::wstring_view::npos ? text : text.substr(last + 1);
}

} // namespace driver
