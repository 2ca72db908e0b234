#include "driver/options.h"

#include "driver/text.h"

#include <algorithm>

namespace driver {

namespace {

bool isOptionLike(const std::wstring& argument)
{
    return argument.starts_with(L'-') || argument.starts_with(L'/');
}

} // namespace

Options scanOptions(Arguments arguments)
{
    Options options;
    for (; options.command < arguments.size() && isOptionLike(arguments[options.command]); ++options.command) {
        const std::wstring_view option = std::wstring_view(arguments[options.command]).substr(1);
        if (option.size() > 2 && equalIgnoringCase(option.substr(0, 2), L"m:"))
            options.machine = option.substr(2);
        else if (equalIgnoringCase(option, L"r"))
            options.reboot = true;
        else if (equalIgnoringCase(option, L"f"))
            options.force = true;
        else
            break;
    }
    return options;
}

Extras takeExtras(ArgumentVector& arguments)
{
    Extras extras;
    if (arguments.empty())
        return extras;
    const std::pair<const wchar_t*, bool*> options[] = {
        {L"--json", &extras.json}, {L"--strict", &extras.strict}, {L"--problem", &extras.problem}};
    const auto end = std::find_if_not(arguments.begin() + 1, arguments.end(), isOptionLike);
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
