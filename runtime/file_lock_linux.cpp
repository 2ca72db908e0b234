#include "runtime/whole_file.h"

#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

bool reachesDisk(int descriptor)
{
    return ::fsync(descriptor) == 0 || errno == EINVAL || errno == ENOTSUP || errno == EROFS; // or has none
}

void FileLock::open(const QString& lockFile)
{
    constexpr mode_t kOwnerOnly = 0600;
    m_file = ::open(QFile::encodeName(lockFile).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kOwnerOnly);
}

bool FileLock::tryLock()
{
    return ::flock(static_cast<int>(m_file), LOCK_EX | LOCK_NB) == 0;
}

void FileLock::close()
{
    ::close(static_cast<int>(m_file)); // which releases the lock
}
