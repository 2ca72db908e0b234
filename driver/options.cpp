#include "driver/options.h"

#include "driver/text.h"

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

} // namespace driver
