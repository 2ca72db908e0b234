#include "runtime/append_file.h"

#include <QDir>

#include <windows.h>

namespace {

HANDLE handleOf(qintptr value)
{
    return reinterpret_cast<HANDLE>(value);
}

} // namespace

bool AppendFile::open(const QString& path)
{
    close();
    // The right to append and not to write: the system then puts each write at the end.
    const HANDLE handle = ::CreateFileW(reinterpret_cast<const wchar_t*>(QDir::toNativeSeparators(path).utf16()),
                                        FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
    m_handle = handle == INVALID_HANDLE_VALUE ? kNone : reinterpret_cast<qintptr>(handle);
    return isOpen();
}

void AppendFile::close()
{
    if (isOpen())
        ::CloseHandle(handleOf(m_handle));
    m_handle = kNone;
}

qint64 AppendFile::size() const
{
    LARGE_INTEGER bytes = {};
    return isOpen() && ::GetFileSizeEx(handleOf(m_handle), &bytes) ? qint64(bytes.QuadPart) : -1;
}

bool AppendFile::write(const QByteArray& bytes)
{
    DWORD written = 0;
    return isOpen() && ::WriteFile(handleOf(m_handle), bytes.constData(), DWORD(bytes.size()), &written, nullptr) &&
           written == DWORD(bytes.size());
}
