// hardware_id_edit.h: the edit operations of a device's hardware-id list.
#pragma once

#include "driver/registry_data.h"

#include <optional>
#include <span>

namespace driver {

/// An id, and the character before it that says what becomes of it: "=" makes it the only one, "+" puts it to the
/// front,
/// "-" to the end, "!" deletes it; 0, for none of these, puts it where the operation before ended.
struct IdOperation
{
    wchar_t sign = L'\0';
    std::wstring id;
};

/// Nothing when one has an empty id.
std::optional<std::vector<IdOperation>> parseIdOperations(std::span<const std::wstring> arguments);

/// `ids` after all operations in order. Inserting first removes every entry equal to the id (ASCII letter case does not
/// matter) and then takes the position as it is, the end where that is beyond the end. Ids without a prefix go to the
/// end until another operation has inserted one; deleting does not move the position.
TextList editHardwareIds(TextList ids, std::span<const IdOperation> operations);

} // namespace driver
