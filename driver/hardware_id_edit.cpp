#include "driver/hardware_id_edit.h"

#include "driver/text.h"

#include <algorithm>
#include <limits>

namespace driver {

namespace {

constexpr std::size_t kEnd = std::numeric_limits<std::size_t>::max();

IdOperation parseOperation(const std::wstring& argument)
{
    using Kind = IdOperation::Kind;
    switch (argument.empty() ? L'\0' : argument.front()) {
    case L'=':
        return {Kind::Replace, argument.substr(1)};
    case L'+':
        return {Kind::Front, argument.substr(1)};
    case L'-':
        return {Kind::End, argument.substr(1)};
    case L'!':
        return {Kind::Delete, argument.substr(1)};
    default:
        return {Kind::Here, argument};
    }
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
        switch (operation.kind) {
        case IdOperation::Kind::Replace:
            ids.clear();
            position = insert(ids, operation.id, 0);
            break;
        case IdOperation::Kind::Front:
            position = insert(ids, operation.id, 0);
            break;
        case IdOperation::Kind::End:
            position = insert(ids, operation.id, kEnd);
            break;
        case IdOperation::Kind::Delete:
            removeEqual(ids, operation.id);
            break;
        case IdOperation::Kind::Here:
            position = insert(ids, operation.id, position);
            break;
        }
    }
    return ids;
}

} // namespace driver
