// links: plugboard::driver
// registry_data_fuzzer: bytes of a registry value or device property, the first of them its type, read as text and
// back.
#include "driver/registry_data.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const driver::RegistryData value{data[0], {data + 1, data + size}};
    const std::wstring text = driver::decodeText(value);
    const driver::TextList list = driver::decodeTextList(value);
    // No text can be empty or have a NUL in it, and none is longer than the bytes.
    std::size_t characters = 0;
    for (const std::wstring& each : list) {
        characters += each.size();
        if (each.empty() || each.find(L'\0') != std::wstring::npos)
            std::abort();
    }
    if (2 * std::max(characters, text.size()) > size || (!list.empty() && list.front() != text))
        std::abort();
    // What is no character has become one, so that writing and reading changes nothing more.
    if (driver::decodeTextList(driver::encodeTextList(list)) != list ||
        driver::decodeText(driver::encodeText(text)) != text)
        std::abort();
    return 0;
}
