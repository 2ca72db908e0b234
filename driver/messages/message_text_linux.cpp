#include "driver/messages/message_text.h"

#include "driver/messages/message_table.h"

#include <algorithm>

namespace driver {

namespace {

constexpr std::uint32_t kFirstMessage = 10000;

const wchar_t* textOf(std::uint32_t number)
{
    const auto table = messageTable();
    const auto found = std::ranges::lower_bound(table, number, {}, &MessageText::number);
    return found != table.end() && found->number == number ? found->text : nullptr;
}

} // namespace

std::wstring messageText(std::uint32_t number, std::span<const std::wstring> inserts)
{
    std::wstring result;
    const wchar_t* text = number < kFirstMessage ? nullptr : textOf(number);
    for (; text != nullptr && *text != L'\0'; ++text) {
        if (*text != L'%') {
            result += *text;
            continue;
        }
        ++text;
        const auto insert = static_cast<std::size_t>(*text - L'1');
        if (*text == L'%')
            result += L'%';
        else if (insert < inserts.size())
            result += inserts[insert];
    }
    return result;
}

Outcome<std::wstring> loadedText(std::uint32_t number, std::size_t capacity)
{
    const wchar_t* text = number >= kFirstMessage ? nullptr : textOf(number);
    if (text == nullptr || capacity == 0)
        return Failure{errors::kInvalidParameter};
    return std::wstring(text).substr(0, capacity - 1);
}

} // namespace driver
