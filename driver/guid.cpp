#include "driver/guid.h"

#include "driver/text.h"

namespace driver {

namespace {

constexpr std::size_t kTextLength = 38;
constexpr std::wstring_view kDigits = L"0123456789ABCDEFabcdef";

} // namespace

std::wstring guidText(const Guid& guid)
{
    std::wstring text = L"{" + hexadecimal(guid.data1, 8, HexCase::Upper) + L"-" +
                        hexadecimal(guid.data2, 4, HexCase::Upper) + L"-" + hexadecimal(guid.data3, 4, HexCase::Upper);
    for (std::size_t i = 0; i < guid.data4.size(); ++i) {
        if (i == 0 || i == 2)
            text += L'-';
        text += hexadecimal(guid.data4[i], 2, HexCase::Upper);
    }
    return text + L"}";
}

std::optional<Guid> parseGuid(std::wstring_view text)
{
    if (text.size() != kTextLength || text.front() != L'{' || text.back() != L'}')
        return std::nullopt;
    std::wstring digits;
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
        const bool dash = i == 9 || i == 14 || i == 19 || i == 24;
        if (text[i] == L'-' ? !dash : dash || kDigits.find(text[i]) == std::wstring_view::npos)
            return std::nullopt;
        if (!dash)
            digits += text[i];
    }
    const auto number = [&](std::size_t first, std::size_t length) {
        return static_cast<std::uint32_t>(std::stoul(digits.substr(first, length), nullptr, 16));
    };
    Guid guid{number(0, 8), static_cast<std::uint16_t>(number(8, 4)), static_cast<std::uint16_t>(number(12, 4)), {}};
    for (std::size_t i = 0; i < guid.data4.size(); ++i)
        guid.data4[i] = static_cast<std::uint8_t>(number(16 + 2 * i, 2));
    return guid;
}

} // namespace driver
