// cmd_map.h: the program's debug commands by name.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// Filled by static initialisers before the program starts, so a program that wants the commands of this library links
/// all of it. Afterwards it only is read, from any thread.
class CmdMap
{
public:
    /// What the two pointers are is the command's own agreement with its caller.
    using Handler = std::function<std::int32_t(void*, void*)>;

    static CmdMap& instance();

    /// Adds a command, or replaces the one of that name. Returns the number of commands, for a static initialiser to
    /// keep.
    std::uint32_t add(const std::string& name, Handler handler);

    /// Runs a command (names are case-sensitive); nothing when there is none of that name.
    std::optional<std::int32_t> run(const std::string& name, void* first, void* second) const;

    std::vector<std::string> names() const;

private:
    std::map<std::string, Handler> m_handlers;
};
