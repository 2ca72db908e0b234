// registry_data.h: values as the registry and device properties hold them, and their safe reading as text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace driver {

/// Registry value types that the engine reads or writes.
inline constexpr std::uint32_t kRegistryText = 1;           // REG_SZ
inline constexpr std::uint32_t kRegistryExpandableText = 2; // REG_EXPAND_SZ
inline constexpr std::uint32_t kRegistryTextList = 7;       // REG_MULTI_SZ

/// One value. Text is UTF-16, little-endian, whatever wchar_t is here.
struct RegistryData
{
    std::uint32_t type = kRegistryText;
    std::vector<std::uint8_t> bytes;
};

using TextList = std::vector<std::wstring>;

/// Text up to its NUL or, without one, to the end of the data; an odd last byte is no character.
std::wstring decodeText(const RegistryData& data);

/// The strings of a multi-string up to the empty one that ends it or to the end of the data. A single text is a list of
/// one; a value of a type without text is an empty list.
TextList decodeTextList(const RegistryData& data);

RegistryData encodeText(std::wstring_view text);

/// Every string with its NUL, one more NUL at the end (two for an empty list).
RegistryData encodeTextList(const TextList& list);

} // namespace driver
