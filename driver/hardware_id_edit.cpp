#include "driver/hardware_id_edit.h"

#include "driver/text.h"

#include <algorithm>
#include <limits>

namespace driver {

namespace {

constexpr std::size_t kEnd = std::numeric_limits<std::size_t>::max();

IdOperation parseOperation(const std::wstring& argument)
{
    const bool hasSign =
        !argument.empty() && std::wstring_view(L"=+-!").find(argument.front()) != std::wstring_view::npos;
    return hasSign ? IdOperation{argument.front(), argument.substr(1)} : IdOperation{L'\0', argument};
}

void removeEqual(TextList& ids, const std::wstring& id)
{
    std::erase_if(ids, [&](const std::wstring& other) { return equalIgnoringCase(other, id); });
}

/// The position one past the id.
std::size_t insert(TextList& ids, const std::wstring& id, std::size_t position)
{
    removeEqual(ids, id);
    position = std::min(position, ids.size());
    ids.insert(ids.begin() + static_cast<std::ptrdiff_t>(position), id);
    return position + 1;
}

} // namespace

std::optional<std::vector<IdOperation>> parseIdOperations(std::span<const std::wstring> arguments)
{
    std::vector<IdOperation> operations;
    for (const std::wstring& argument : arguments) {
        operations.push_back(parseOperation(argument));
        if (operations.back().id.empty())
            return std::nullopt;
    }
    return operations;
}

TextList editHardwareIds(TextList ids, std::span<const IdOperation> operations)
{
    std::size_t position = kEnd;
    for (const IdOperation& operation : operations) {
        if (operation.sign == L'!') {
            removeEqual(ids, operation.id);
            continue;
        }
        if (operation.sign == L'=')
            ids.clear();
        if (operation.sign != L'\0')
            position = operation.sign == L'-' ? kEnd : 0;
        position = insert(ids, operation.id, position);
    }
    return ids;
}

} // namespace driver
