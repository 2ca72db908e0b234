#include "driver/extras.h"

#include <algorithm>

namespace driver {

Extras takeExtras(ArgumentVector& arguments)
{
    Extras extras;
    if (arguments.empty())
        return extras;
    const std::pair<const wchar_t*, bool*> options[] = {
        {L"--json", &extras.json}, {L"--strict", &extras.strict}, {L"--problem", &extras.problem}};
    const auto end = std::find_if(arguments.begin() + 1, arguments.end(), [](const std::wstring& argument) {
        return !argument.starts_with(L'-') && !argument.starts_with(L'/');
    });
    const auto taken = std::remove_if(arguments.begin() + 1, end, [&](const std::wstring& argument) {
        const auto option = std::ranges::find(options, argument, [](const auto& each) { return each.first; });
        if (option == std::end(options))
            return false;
        *option->second = true;
        return true;
    });
    arguments.erase(taken, end);
    return extras;
}

} // namespace driver
