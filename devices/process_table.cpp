#include "devices/process_table.h"

#include <algorithm>
#include <utility>

ProcessSnapshot::ProcessSnapshot(const std::vector<std::uint32_t>& ids, const QString& program)
{
    std::vector<Process> processes;
    for (const std::uint32_t id : ids)
        processes.push_back({id, program});
    *this = of(std::move(processes));
}

ProcessSnapshot ProcessSnapshot::of(std::vector<Process> processes)
{
    std::sort(processes.begin(), processes.end(),
              [](const Process& left, const Process& right) { return left.id < right.id; });
    ProcessSnapshot snapshot;
    snapshot.m_processes = std::move(processes);
    snapshot.m_valid = true;
    return snapshot;
}

const ProcessSnapshot::Process* ProcessSnapshot::find(std::int64_t processId) const
{
    const auto id = static_cast<std::uint32_t>(processId);
    const auto found =
        std::lower_bound(m_processes.begin(), m_processes.end(), id,
                         [](const Process& process, std::uint32_t wanted) { return process.id < wanted; });
    return found != m_processes.end() && found->id == id ? &*found : nullptr;
}

bool ProcessSnapshot::contains(std::int64_t processId) const
{
    return find(processId) != nullptr;
}

bool ProcessSnapshot::runsProgram(std::int64_t processId, const QString& fileName) const
{
    const Process* process = find(processId);
    return process && process->program.compare(fileName, Qt::CaseInsensitive) == 0;
}

QString ProcessSnapshot::programOf(std::int64_t processId) const
{
    const Process* process = find(processId);
    return process ? process->program : QString();
}
