// command_table.h: the commands by name.
#pragma once

#include "driver/command.h"

#include <optional>
#include <string_view>

namespace driver {

struct Command
{
    const wchar_t* name = nullptr; ///< null in the row after the last
    ResultCode (*routine)(const CommandContext&) = nullptr;
    Message shortHelp = Message::None;
    Message longHelp = Message::None;
};

/// The rows in the order in which help lists them, ended by one with a null name.
const Command* commandTable();

/// Help works without a system; other commands read it, and some change it.
std::optional<Access> accessOf(const Command& command);

/// What runs for a command with these extras; null when they are not for it.
decltype(Command::routine) routineFor(const Command& command, const Extras& extras);

/// First row of that name, in any letter case; null when there is none.
const Command* findCommand(std::wstring_view name);

} // namespace driver
