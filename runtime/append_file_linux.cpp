#include "runtime/append_file.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

bool AppendFile::open(const QString& path)
{
    close();
    m_handle = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW,
                      S_IRUSR | S_IWUSR);
    return isOpen();
}

void AppendFile::close()
{
    if (isOpen())
        ::close(int(m_handle));
    m_handle = kNone;
}

qint64 AppendFile::size() const
{
    struct stat status = {};
    return isOpen() && ::fstat(int(m_handle), &status) == 0 ? qint64(status.st_size) : -1;
}

bool AppendFile::write(const QByteArray& bytes)
{
    return isOpen() && ::write(int(m_handle), bytes.constData(), std::size_t(bytes.size())) == bytes.size();
}
