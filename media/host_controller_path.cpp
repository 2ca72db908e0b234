#include "media/host_controller_reset.h"

#include <algorithm>
#include <cwctype>

std::optional<std::wstring> hostControllerPath(const std::vector<std::wstring>& paths, const std::wstring& kind)
{
    const std::vector<std::wstring> kinds =
        kind.empty() ? std::vector<std::wstring>{L"vehci", L"vhci", L"vxhci"} : std::vector<std::wstring>{kind};
    const auto belongs = [&kinds](std::wstring path) {
        std::transform(path.begin(), path.end(), path.begin(),
                       [](wchar_t character) { return static_cast<wchar_t>(std::towlower(character)); });
        return std::any_of(kinds.begin(), kinds.end(),
                           [&path](const std::wstring& name) { return path.find(name) != std::wstring::npos; });
    };
    const auto found = std::find_if(paths.begin(), paths.end(), belongs);
    return found == paths.end() ? std::nullopt : std::optional(*found);
}
