#include "driver/registry_data.h"

#include "driver/text.h"

#include <algorithm>

namespace driver {

namespace {

/// Units of the data without an odd last byte.
std::size_t unitCount(const RegistryData& data)
{
    return data.bytes.size() / 2;
}

char16_t unitAt(const RegistryData& data, std::size_t position)
{
    return static_cast<char16_t>(data.bytes[2 * position] | data.bytes[2 * position + 1] << 8);
}

/// The string that begins at unit `position`, which moves past it and its NUL.
std::wstring takeText(const RegistryData& data, std::size_t& position)
{
    const std::size_t first = position;
    const std::size_t count = unitCount(data);
    bool plain = true; // no surrogates, so that every unit is a character
    while (position < count && unitAt(data, position) != 0)
        plain = (unitAt(data, position++) & 0xF800) != 0xD800 && plain;
    const std::size_t length = position - first;
    position = std::min(position + 1, count);
    if (plain) {
        std::wstring text(length, L'\0');
        for (std::size_t i = 0; i < length; ++i)
            text[i] = static_cast<wchar_t>(unitAt(data, first + i));
        return text;
    }
    std::u16string units(length, u'\0');
    for (std::size_t i = 0; i < length; ++i)
        units[i] = unitAt(data, first + i);
    return fromUtf16(units);
}

void append(std::vector<std::uint8_t>& bytes, std::wstring_view text)
{
    const std::u16string units = toUtf16(text);
    std::size_t position = bytes.size();
    bytes.resize(position + 2 * (units.size() + 1));
    for (const char16_t unit : units) {
        bytes[position++] = static_cast<std::uint8_t>(unit & 0xFF);
        bytes[position++] = static_cast<std::uint8_t>(unit >> 8);
    }
}

bool isText(std::uint32_t type)
{
    return type == kRegistryText || type == kRegistryExpandableText || type == kRegistryTextList;
}

} // namespace

std::wstring decodeText(const RegistryData& data)
{
    std::size_t position = 0;
    return isText(data.type) ? takeText(data, position) : std::wstring();
}

TextList decodeTextList(const RegistryData& data)
{
    TextList list;
    const std::size_t count = isText(data.type) ? unitCount(data) : 0;
    for (std::size_t position = 0; position < count && unitAt(data, position) != 0;)
        list.push_back(takeText(data, position));
    return list;
}

RegistryData encodeText(std::wstring_view text)
{
    RegistryData data;
    append(data.bytes, text);
    return data;
}

RegistryData encodeTextList(const TextList& list)
{
    RegistryData data{kRegistryTextList, {}};
    for (const std::wstring& text : list)
        append(data.bytes, text);
    if (list.empty())
        append(data.bytes, {});
    append(data.bytes, {});
    return data;
}

} // namespace driver
