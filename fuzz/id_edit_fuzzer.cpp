// links: plugboard::driver
// id_edit_fuzzer: a list on the first line, edit operations on the second, words split at spaces.
#include "driver/filter_edit.h"
#include "driver/hardware_id_edit.h"
#include "driver/text.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

using driver::TextList;

TextList wordsOf(std::wstring_view line)
{
    TextList words;
    while (!line.empty()) {
        const std::wstring_view word = line.substr(0, line.find(L' '));
        line.remove_prefix(std::min(word.size() + 1, line.size()));
        words.emplace_back(word);
    }
    return words;
}

void require(bool condition)
{
    if (!condition)
        std::abort();
}

std::size_t occurrences(const TextList& list, const std::wstring& text)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(list, [&](const std::wstring& each) { return driver::equalIgnoringCase(each, text); }));
}

void editIds(const TextList& list, const TextList& arguments)
{
    const auto operations = driver::parseIdOperations(arguments);
    require(operations.has_value() == std::ranges::none_of(arguments, [](const std::wstring& each) {
                return each.empty() ||
                       (each.size() == 1 && std::wstring_view(L"=+-!").find(each[0]) != std::wstring::npos);
            }));
    if (!operations || operations->empty())
        return;
    const TextList edited = driver::editHardwareIds(list, *operations);
    const bool deleted = operations->back().sign == L'!';
    require(occurrences(edited, operations->back().id) == (deleted ? 0 : 1));
}

void editFilters(const TextList& list, const TextList& arguments)
{
    driver::FilterEdit edit(list, [](const std::wstring& name) { return name.size() % 7 != 6; });
    for (const std::wstring& argument : arguments) {
        const std::size_t before = edit.filters().size();
        const driver::ResultCode result = edit.apply(argument);
        require(result == driver::kSuccess || result == driver::kFailure || result == driver::kUsageError);
        const std::size_t after = edit.filters().size();
        require(after + 1 >= before && after <= before + 1 && (after == before || edit.changed()));
        if (result != driver::kSuccess)
            return;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 1024)
        return 0;
    const std::wstring text = driver::fromUtf8({reinterpret_cast<const char*>(data), size});
    const std::size_t line = std::min(text.find(L'\n'), text.size());
    TextList list = wordsOf(std::wstring_view(text).substr(0, line));
    const TextList arguments = wordsOf(std::wstring_view(text).substr(std::min(line + 1, text.size())));
    editIds(list, arguments);
    editFilters(list, arguments);

    driver::RegistryData raw{driver::kRegistryTextList, {data, data + size}};
    const TextList decoded = driver::decodeTextList(raw);
    require(driver::decodeTextList(driver::encodeTextList(decoded)) == decoded);
    return 0;
}
