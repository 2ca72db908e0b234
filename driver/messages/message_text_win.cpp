#include "driver/messages/message_text.h"

#include <windows.h>

#include <cstdarg>
#include <memory>
#include <vector>

namespace driver {

namespace {

struct LocalDeleter
{
    void operator()(wchar_t* memory) const { LocalFree(memory); }
};

/// The system's formatter over the running module's message table, in a neutral language.
std::wstring formatted(DWORD number, ...)
{
    va_list arguments;
    va_start(arguments, number);
    wchar_t* allocated = nullptr;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_HMODULE, GetModuleHandleW(nullptr), number,
                       0, reinterpret_cast<wchar_t*>(&allocated), 0, &arguments);
    va_end(arguments);
    const std::unique_ptr<wchar_t, LocalDeleter> owner(allocated);
    return length == 0 ? std::wstring() : std::wstring(allocated, length);
}

} // namespace

std::wstring messageText(std::uint32_t number, std::span<const std::wstring> inserts)
{
    const auto insert = [&](std::size_t i) { return i < inserts.size() ? inserts[i].c_str() : L""; };
    std::wstring text = formatted(number, insert(0), insert(1), insert(2), insert(3));
    for (std::size_t end = text.find(L"\r\n"); end != std::wstring::npos; end = text.find(L"\r\n", end))
        text.erase(end, 1);
    return text;
}

Outcome<std::wstring> loadedText(std::uint32_t number, std::size_t capacity)
{
    std::vector<wchar_t> buffer(capacity);
    const int length = LoadStringW(GetModuleHandleW(nullptr), number, buffer.data(), static_cast<int>(buffer.size()));
    if (length <= 0)
        return Failure{GetLastError()};
    return std::wstring(buffer.data(), static_cast<std::size_t>(length));
}

} // namespace driver
