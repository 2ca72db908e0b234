#include "emulation/storage/image_file.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace storage {

namespace {

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

QString reason(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

/// Without a name, or with one that is removed at once where the file system knows no nameless files; -1 on failure.
int openNameless(const char* folder)
{
    const int nameless = ::open(folder, O_TMPFILE | O_RDWR | O_CLOEXEC | O_EXCL, kOwnerOnly);
    if (nameless >= 0 || (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL))
        return nameless;
    QByteArray path = QByteArray(folder) + "/plugboard-disk-XXXXXX";
    const int named = ::mkostemp(path.data(), O_CLOEXEC);
    if (named >= 0)
        ::unlink(path.constData());
    return named;
}

/// The folder that the user chose for temporary files; else the one for large ones, which lies in memory on no system.
int openTemporary()
{
    const char* const chosen = std::getenv("TMPDIR");
    int handle = chosen != nullptr && *chosen != '\0' ? openNameless(chosen) : -1;
    for (const char* folder : {"/var/tmp", "/tmp"})
        if (handle < 0)
            handle = openNameless(folder);
    return handle;
}

} // namespace

Outcome<ImageFile::Pointer> ImageFile::makeTemporary(std::int64_t bytes)
{
    const int handle = openTemporary();
    if (handle < 0)
        return Fault{QStringLiteral("The file of the disk cannot be made: %1.").arg(reason(errno))};
    const Pointer file(new ImageFile(handle, false, 0));
    if (!file->resize(bytes))
        return Fault{QStringLiteral("The file of the disk cannot have %1 bytes: %2.").arg(bytes).arg(reason(errno))};
    return file;
}

Outcome<ImageFile::Pointer> ImageFile::open(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    // Without waiting: a pipe must not hold up the device. It is refused below.
    int handle = ::open(name.constData(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
    const bool readOnly = handle < 0 && (errno == EACCES || errno == EROFS || errno == EPERM || errno == ETXTBSY);
    if (readOnly)
        handle = ::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (handle < 0)
        return Fault{QStringLiteral("%1 cannot be opened: %2.").arg(path, reason(errno))};
    const Pointer file(new ImageFile(handle, readOnly, 0));
    struct stat status = {};
    if (::fstat(handle, &status) != 0 || !S_ISREG(status.st_mode))
        return Fault{QStringLiteral("%1 is not a file.").arg(path)};
    // Two devices that wrote one image would ruin it. A file system without locks goes on without.
    if (::flock(handle, (readOnly ? LOCK_SH : LOCK_EX) | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        return Fault{QStringLiteral("%1 cannot be opened: another device uses it.").arg(path)};
    file->m_size = status.st_size;
    return file;
}

Outcome<ImageFile::Pointer> ImageFile::create(const QString& path)
{
    const int handle =
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kOwnerOnly);
    if (handle < 0)
        return Fault{QStringLiteral("%1 cannot be made: %2.").arg(path, reason(errno))};
    return Pointer(new ImageFile(handle, false, 0));
}

ImageFile::~ImageFile()
{
    ::close(int(m_handle));
}

bool ImageFile::resize(std::int64_t bytes)
{
    if (::ftruncate(int(m_handle), bytes) != 0)
        return false;
    m_size = bytes;
    return true;
}

bool ImageFile::read(std::int64_t position, char* to, std::int64_t length) const
{
    while (length > 0) {
        const ssize_t count = ::pread(int(m_handle), to, std::size_t(length), position);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        to += count;
        position += count;
        length -= count;
    }
    return true;
}

bool ImageFile::write(std::int64_t position, const char* from, std::int64_t length)
{
    while (length > 0) {
        const ssize_t count = ::pwrite(int(m_handle), from, std::size_t(length), position);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        from += count;
        position += count;
        length -= count;
    }
    return true;
}

bool ImageFile::flush()
{
    return ::fdatasync(int(m_handle)) == 0;
}

std::int64_t ImageFile::nextData(std::int64_t position) const
{
    const off_t data = ::lseek(int(m_handle), position, SEEK_DATA);
    if (data >= 0)
        return data;
    return errno == ENXIO ? m_size : position;
}

} // namespace storage
