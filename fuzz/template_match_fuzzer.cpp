// links: plugboard::driver
// template_match_fuzzer: a template and a subject on two lines, against matching by trying every split.
#include "driver/template_match.h"
#include "driver/text.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

/// Whether `pattern`, where * stands for any text, matches all of `subject`.
bool matchesBySplits(std::wstring_view pattern, std::wstring_view subject)
{
    std::vector<bool> reachable(subject.size() + 1, false);
    reachable[0] = true;
    for (const wchar_t symbol : pattern) {
        std::vector<bool> next(subject.size() + 1, false);
        for (std::size_t i = 0; i <= subject.size(); ++i) {
            if (symbol == L'*')
                next[i] = reachable[i] || (i > 0 && next[i - 1]);
            else if (i > 0)
                next[i] = reachable[i - 1] && driver::foldCase(subject[i - 1]) == driver::foldCase(symbol);
        }
        reachable = std::move(next);
    }
    return reachable.back();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 512)
        return 0;
    const std::wstring text = driver::fromUtf8({reinterpret_cast<const char*>(data), size});
    const std::size_t line = std::min(text.find(L'\n'), text.size());
    const std::wstring subject = text.substr(std::min(line + 1, text.size()));
    const driver::DeviceTemplate pattern = driver::parseTemplate(text.substr(0, line));
    const bool expected =
        pattern.wildcard ? matchesBySplits(pattern.text, subject) : driver::equalIgnoringCase(pattern.text, subject);
    if (driver::matches(pattern, subject) != expected)
        std::abort();
    return 0;
}
