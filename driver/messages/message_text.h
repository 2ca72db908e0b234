// message_text.h: numbered texts with their inserts: from the program's resources on Windows, from the table elsewhere.
#pragma once

#include "driver/outcome.h"

#include <cstdint>
#include <span>
#include <string>

namespace driver {

/// The text of message `number` with %1 to %4 replaced; an insert that is not given is empty. Lines end with LF, the
/// last one too. Empty when there is no such message.
std::wstring messageText(std::uint32_t number, std::span<const std::wstring> inserts);

/// Entry `number` of the string table. Fails when there is none; one that does not fit `capacity` characters with its
/// NUL is cut, as the system does.
Outcome<std::wstring> loadedText(std::uint32_t number, std::size_t capacity);

} // namespace driver
