#include "driver/registry_data.h"

#include "driver/text.h"

#include <span>

namespace driver {

namespace {

std::u16string unitsOf(std::span<const std::uint8_t> bytes)
{
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        units += static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8);
    return units;
}

void append(std::vector<std::uint8_t>& bytes, std::wstring_view text)
{
    for (const char16_t unit : toUtf16(text)) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    bytes.insert(bytes.end(), 2, 0);
}

bool isText(std::uint32_t type)
{
    return type == kRegistryText || type == kRegistryExpandableText || type == kRegistryTextList;
}

} // namespace

std::wstring decodeText(const RegistryData& data)
{
    if (!isText(data.type))
        return {};
    const std::u16string units = unitsOf(data.bytes);
    return fromUtf16(std::u16string_view(units).substr(0, units.find(u'\0')));
}

TextList decodeTextList(const RegistryData& data)
{
    TextList list;
    if (!isText(data.type))
        return list;
    const std::u16string units = unitsOf(data.bytes);
    std::u16string_view rest = units;
    while (!rest.empty() && rest.front() != u'\0') {
        const std::size_t end = rest.find(u'\0');
        list.push_back(fromUtf16(rest.substr(0, end)));
        rest = end == std::u16string_view::npos ? std::u16string_view() : rest.substr(end + 1);
    }
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
