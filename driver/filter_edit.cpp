#include "driver/filter_edit.h"

#include "driver/text.h"

#include <algorithm>

namespace driver {

FilterEdit::FilterEdit(TextList filters, ServiceCheck serviceExists)
    : m_filters(std::move(filters))
    , m_serviceExists(std::move(serviceExists))
{}

ResultCode FilterEdit::apply(std::wstring_view operation)
{
    while (operation.starts_with(L'=')) {
        m_position.reset();
        m_step = 1;
        operation.remove_prefix(1);
        if (operation.empty())
            return kSuccess;
    }
    if (operation.size() < 2)
        return kUsageError;
    const std::wstring_view name = operation.substr(1);
    switch (operation.front()) {
    case L'@':
        return find(name) ? kSuccess : kFailure;
    case L'!':
        if (!find(name))
            return kFailure;
        m_filters.erase(m_filters.begin() + static_cast<std::ptrdiff_t>(*m_position));
        m_step = 0;
        m_changed = true;
        return kSuccess;
    case L'+':
        return insert(name, m_position ? *m_position + m_step : m_filters.size());
    case L'-':
        return insert(name, m_position.value_or(0));
    default:
        return kUsageError;
    }
}

bool FilterEdit::find(std::wstring_view name)
{
    for (std::size_t i = m_position ? *m_position + m_step : 0; i < m_filters.size(); ++i) {
        if (!equalIgnoringCase(m_filters[i], name))
            continue;
        m_position = i;
        m_step = 1;
        return true;
    }
    return false;
}

ResultCode FilterEdit::insert(std::wstring_view name, std::size_t position)
{
    std::wstring service(name);
    if (!m_serviceExists(service))
        return kFailure;
    position = std::min(position, m_filters.size());
    m_filters.insert(m_filters.begin() + static_cast<std::ptrdiff_t>(position), std::move(service));
    m_changed = true;
    return kSuccess;
}

} // namespace driver
