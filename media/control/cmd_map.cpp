#include "media/control/cmd_map.h"

#include <utility>

CmdMap& CmdMap::instance()
{
    static CmdMap map;
    return map;
}

std::uint32_t CmdMap::add(const std::string& name, Handler handler)
{
    m_handlers[name] = std::move(handler);
    return static_cast<std::uint32_t>(m_handlers.size());
}

std::optional<std::int32_t> CmdMap::run(const std::string& name, void* first, void* second) const
{
    const auto entry = m_handlers.find(name);
    if (entry == m_handlers.end())
        return std::nullopt;
    return entry->second(first, second);
}

std::vector<std::string> CmdMap::names() const
{
    std::vector<std::string> names;
    for (const auto& [name, handler] : m_handlers)
        names.push_back(name);
    return names;
}
