// text.h: wide text without assumptions about the width of wchar_t: comparing, padding, numbers, UTF-8 and UTF-16.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace driver {

/// Lower case of an ASCII letter, anything else unchanged: names and ids compare the same under every locale.
constexpr wchar_t foldCase(wchar_t character)
{
    return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character - L'A' + L'a') : character;
}

/// Whole-string comparison that ignores the case of ASCII letters.
bool equalIgnoringCase(std::wstring_view left, std::wstring_view right);

/// `text` followed by spaces up to `width` characters; longer text is left whole.
std::wstring padded(std::wstring_view text, std::size_t width);

enum class HexCase
{
    Lower,
    Upper
};

/// At least `digits` hexadecimal digits, zeros in front.
std::wstring hexadecimal(std::uint64_t value, std::size_t digits, HexCase letters);

/// Code points of wchar_t text, whatever its width. What is no code point becomes U+FFFD.
std::string toUtf8(std::wstring_view text);
std::u16string toUtf16(std::wstring_view text);

/// The reverse. Ill-formed sequences become U+FFFD.
std::wstring fromUtf8(std::string_view bytes);
std::wstring fromUtf16(std::u16string_view units);

/// The part after the last `separators` character; all of it when there is none.
std::wstring_view afterLast(std::wstring_view text, std::wstring_view separators);

} // namespace driver
