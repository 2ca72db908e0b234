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

    /// A snapshot of just these ids, for tests.
    explicit ProcessSnapshot(std::vector<std::uint32_t> ids);

    /// What take() gives when the system refuses, for tests.
    static ProcessSnapshot failed() { return {}; }

    bool valid() const { return m_valid; }
    bool contains(std::int64_t processId) const;

private:
    ProcessSnapshot() = default;

    std::vector<std::uint32_t> m_ids; ///< sorted
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
