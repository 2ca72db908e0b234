#include "driver/platform/tree_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

namespace driver {

TreeLock::TreeLock(const std::filesystem::path& file, std::chrono::milliseconds patience)
    : m_handle(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666))
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (m_handle >= 0 && ::flock(static_cast<int>(m_handle), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return;
        m_timedOut = std::chrono::steady_clock::now() >= end;
        if (m_timedOut)
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

TreeLock::~TreeLock()
{
    if (m_handle >= 0)
        ::close(static_cast<int>(m_handle));
}

} // namespace driver
