#include "driver/platform/tree_lock.h"

#include <windows.h>

#include <thread>

namespace driver {

TreeLock::TreeLock(const std::filesystem::path& file, std::chrono::milliseconds patience)
    : m_handle(reinterpret_cast<std::intptr_t>(CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE,
                                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                                           nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)))
{
    const auto end = std::chrono::steady_clock::now() + patience;
    OVERLAPPED from{};
    while (m_handle != -1 && !LockFileEx(reinterpret_cast<HANDLE>(m_handle),
                                         LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &from)) {
        if (GetLastError() != ERROR_LOCK_VIOLATION && GetLastError() != ERROR_IO_PENDING)
            return;
        m_timedOut = std::chrono::steady_clock::now() >= end;
        if (m_timedOut)
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

TreeLock::~TreeLock()
{
    if (m_handle != -1)
        CloseHandle(reinterpret_cast<HANDLE>(m_handle));
}

} // namespace driver
