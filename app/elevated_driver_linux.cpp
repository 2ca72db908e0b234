#include "app/elevated_driver.h"

ElevatedDriver elevatedDriver()
{
    return {};
}

std::optional<int> runElevated(const std::wstring&, const std::vector<std::wstring>&)
{
    return std::nullopt;
}
