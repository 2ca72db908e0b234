#include "devices/process_table.h"

#include <algorithm>
#include <utility>

ProcessSnapshot::ProcessSnapshot(std::vector<std::uint32_t> ids) : m_ids(std::move(ids)), m_valid(true)
{
    std::sort(m_ids.begin(), m_ids.end());
}

bool ProcessSnapshot::contains(std::int64_t processId) const
{
    return std::binary_search(m_ids.begin(), m_ids.end(), static_cast<std::uint32_t>(processId));
}
