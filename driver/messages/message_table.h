// message_table.h: all texts of the engine, as generated from messages.txt.
#pragma once

#include <cstdint>
#include <span>

namespace driver {

struct MessageText
{
    std::uint32_t number = 0;
    const wchar_t* text =
        nullptr; ///< with inserts %1 to %4; a message ends with LF, an entry of the string table does not
};

/// Sorted by number.
std::span<const MessageText> messageTable();

} // namespace driver
