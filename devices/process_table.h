// process_table.h: which processes run, and how one is ended. Implemented per system.
#pragma once

#include <QStringList>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

/// One snapshot of the processes that were running when it was taken. Ids are compared as 32-bit values. A process that
/// has ended but was not yet reaped by its parent does not run.
class ProcessSnapshot
{
public:
    /// A snapshot of the whole system; a failed one contains nothing and says so by valid().
    static ProcessSnapshot take();

    /// A snapshot of just these ids, which all run `program`, for tests.
    explicit ProcessSnapshot(const std::vector<std::uint32_t>& ids, const QString& program = {});

    /// What take() gives when the system refuses.
    static ProcessSnapshot failed() { return {}; }

    bool valid() const { return m_valid; }
    bool contains(std::int64_t processId) const;

    /// Whether that process is there and runs the program of this file name (without a folder), of at most 15 bytes:
    /// Linux keeps no more of a name. Letter case does not count.
    bool runsProgram(std::int64_t processId, const QString& fileName) const;

    /// File name of the program that the process runs, as far as the system keeps it; empty when it cannot be told.
    QString programOf(std::int64_t processId) const;

private:
    struct Process
    {
        std::uint32_t id = 0;
        QString program; ///< file name
    };

    ProcessSnapshot() = default;
    static ProcessSnapshot of(std::vector<Process> processes);
    const Process* find(std::int64_t processId) const;

    std::vector<Process> m_processes; ///< sorted by id
    bool m_valid = false;
};

/// How a snapshot is taken; replaced in tests.
using TakeProcessSnapshot = std::function<ProcessSnapshot()>;

/// Program and arguments of the system's tool that ends a process at once.
struct KillCommand
{
    QString program;
    QStringList arguments;
};
KillCommand killCommand(std::int64_t processId);
