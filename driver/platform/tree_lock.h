// tree_lock.h: keeps two programs from changing one file at the same time.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>

namespace driver {

/// A lock between processes, on a file of its own; the system releases it when the process ends, however it does.
class TreeLock
{
public:
    /// Waits for it at most that long. In a folder that takes no files there is nothing to wait for.
    TreeLock(const std::filesystem::path& file, std::chrono::milliseconds patience);
    ~TreeLock();
    TreeLock(const TreeLock&) = delete;
    TreeLock& operator=(const TreeLock&) = delete;

    /// Whether another process has it still.
    bool timedOut() const { return m_timedOut; }

private:
    std::intptr_t m_handle = -1; ///< of the open file
    bool m_timedOut = false;
};

} // namespace driver
