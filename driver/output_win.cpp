#include "driver/output.h"

#include "driver/text.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace driver {

namespace {

constexpr std::size_t kConsoleChunk = 8192; // characters; a console refuses much larger writes

std::wstring withCarriageReturns(std::wstring_view text)
{
    std::wstring result;
    result.reserve(text.size() + text.size() / 32);
    for (const wchar_t character : text) {
        if (character == L'\n')
            result += L'\r';
        result += character;
    }
    return result;
}

void writeToConsole(HANDLE console, std::wstring_view text)
{
    while (!text.empty()) {
        DWORD written = 0;
        const auto count = static_cast<DWORD>(std::min(text.size(), kConsoleChunk));
        if (!WriteConsoleW(console, text.data(), count, &written, nullptr) || written == 0)
            return;
        text.remove_prefix(written);
    }
}

void writeToFile(HANDLE file, std::string_view bytes)
{
    while (!bytes.empty()) {
        DWORD written = 0;
        if (!WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) || written == 0)
            return;
        bytes.remove_prefix(written);
    }
}

class StandardOutput final : public Output
{
public:
    void write(Stream stream, std::wstring_view text) override
    {
        std::fflush(stream == Stream::Error ? stderr : stdout);
        const HANDLE handle = GetStdHandle(stream == Stream::Error ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
        if (handle == nullptr || handle == INVALID_HANDLE_VALUE)
            return;
        DWORD mode = 0;
        if (GetConsoleMode(handle, &mode))
            writeToConsole(handle, withCarriageReturns(text));
        else
            writeToFile(handle, toUtf8(withCarriageReturns(text)));
    }
};

} // namespace

Output& systemOutput()
{
    static StandardOutput output;
    return output;
}

} // namespace driver
