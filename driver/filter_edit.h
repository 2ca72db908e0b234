// filter_edit.h: the edit operations of a setup class's filter list.
#pragma once

#include "driver/registry_data.h"
#include "driver/result.h"

#include <functional>
#include <optional>

namespace driver {

/// Applies operations one by one. The position is an index that "=", "@" and "!" move; inserting leaves it where it is.
class FilterEdit
{
public:
    /// Whether a service of that name exists; only those are inserted.
    using ServiceCheck = std::function<bool(const std::wstring&)>;

    FilterEdit(TextList filters, ServiceCheck serviceExists);

    /// "=" goes to the start and may be followed by another operation. "@NAME" finds the next filter of that name, from
    /// one past the position on, or at it where "!" has just deleted; "!NAME" finds and deletes it. "+NAME" inserts
    /// after the position, at the end from the start; "-NAME" before it. ASCII letter case does not matter.
    /// A usage error for an empty name or another first character; a failure for a filter that is not found or a
    /// service that does not exist. The list is not to be used after either.
    ResultCode apply(std::wstring_view operation);

    const TextList& filters() const { return m_filters; }
    bool changed() const { return m_changed; }

private:
    bool find(std::wstring_view name);
    ResultCode insert(std::wstring_view name, std::size_t position);

    TextList m_filters;
    ServiceCheck m_serviceExists;
    std::optional<std::size_t> m_position;
    std::size_t m_step = 1;
    bool m_changed = false;
};

} // namespace driver
