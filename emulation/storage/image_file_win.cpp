#include "emulation/storage/image_file.h"

#include <QDir>
#include <QUuid>

#include <windows.h>
#include <winioctl.h>

#include <algorithm>

namespace storage {

namespace {

HANDLE handleOf(std::intptr_t value)
{
    return reinterpret_cast<HANDLE>(value);
}

QString reason(DWORD error)
{
    return qt_error_string(int(error)).trimmed();
}

HANDLE openFile(const QString& path, DWORD access, DWORD share, DWORD disposition, DWORD attributes)
{
    return ::CreateFileW(reinterpret_cast<const wchar_t*>(QDir::toNativeSeparators(path).utf16()), access, share,
                         nullptr, disposition, attributes, nullptr);
}

/// Zeros that were never written then take no room. A file system that cannot do that keeps them as zeros.
void makeSparse(HANDLE handle)
{
    DWORD returned = 0;
    ::DeviceIoControl(handle, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &returned, nullptr);
}

OVERLAPPED at(std::int64_t position)
{
    OVERLAPPED place = {};
    place.Offset = DWORD(position & 0xFFFFFFFF);
    place.OffsetHigh = DWORD(position >> 32);
    return place;
}

constexpr std::int64_t kMostAtOnce = 1 << 30;

} // namespace

Outcome<ImageFile::Pointer> ImageFile::makeTemporary(std::int64_t bytes)
{
    const QString path = QStringLiteral("%1/plugboard-disk-%2")
                             .arg(QDir::tempPath(), QUuid::createUuid().toString(QUuid::WithoutBraces));
    const HANDLE handle = openFile(path, GENERIC_READ | GENERIC_WRITE | DELETE, 0, CREATE_NEW,
                                   FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE);
    if (handle == INVALID_HANDLE_VALUE)
        return Fault{QStringLiteral("The file of the disk cannot be made: %1").arg(reason(::GetLastError()))};
    const Pointer file(new ImageFile(reinterpret_cast<std::intptr_t>(handle), false, 0));
    makeSparse(handle);
    if (!file->resize(bytes))
        return Fault{
            QStringLiteral("The file of the disk cannot have %1 bytes: %2").arg(bytes).arg(reason(::GetLastError()))};
    return file;
}

Outcome<ImageFile::Pointer> ImageFile::open(const QString& path)
{
    HANDLE handle = openFile(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING, 0);
    const DWORD error = handle == INVALID_HANDLE_VALUE ? ::GetLastError() : ERROR_SUCCESS;
    const bool readOnly = error == ERROR_ACCESS_DENIED || error == ERROR_WRITE_PROTECT;
    if (readOnly)
        handle = openFile(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, 0);
    if (handle == INVALID_HANDLE_VALUE)
        return Fault{QStringLiteral("%1 cannot be opened: %2").arg(path, reason(::GetLastError()))};
    const Pointer file(new ImageFile(reinterpret_cast<std::intptr_t>(handle), readOnly, 0));
    LARGE_INTEGER size = {};
    if (::GetFileType(handle) != FILE_TYPE_DISK || !::GetFileSizeEx(handle, &size))
        return Fault{QStringLiteral("%1 is not a file.").arg(path)};
    file->m_size = size.QuadPart;
    return file;
}

Outcome<ImageFile::Pointer> ImageFile::create(const QString& path)
{
    // The caller may rename it while it is open.
    const HANDLE handle =
        openFile(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, CREATE_NEW, 0);
    if (handle == INVALID_HANDLE_VALUE)
        return Fault{QStringLiteral("%1 cannot be made: %2").arg(path, reason(::GetLastError()))};
    makeSparse(handle);
    return Pointer(new ImageFile(reinterpret_cast<std::intptr_t>(handle), false, 0));
}

ImageFile::~ImageFile()
{
    ::CloseHandle(handleOf(m_handle));
}

bool ImageFile::resize(std::int64_t bytes)
{
    LARGE_INTEGER end = {};
    end.QuadPart = bytes;
    if (!::SetFilePointerEx(handleOf(m_handle), end, nullptr, FILE_BEGIN) || !::SetEndOfFile(handleOf(m_handle)))
        return false;
    m_size = bytes;
    return true;
}

bool ImageFile::read(std::int64_t position, char* to, std::int64_t length) const
{
    while (length > 0) {
        OVERLAPPED place = at(position);
        DWORD count = 0;
        if (!::ReadFile(handleOf(m_handle), to, DWORD(std::min(length, kMostAtOnce)), &count, &place) || count == 0)
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
        OVERLAPPED place = at(position);
        DWORD count = 0;
        if (!::WriteFile(handleOf(m_handle), from, DWORD(std::min(length, kMostAtOnce)), &count, &place) || count == 0)
            return false;
        from += count;
        position += count;
        length -= count;
    }
    return true;
}

bool ImageFile::flush()
{
    return ::FlushFileBuffers(handleOf(m_handle)) != 0;
}

std::int64_t ImageFile::nextData(std::int64_t position) const
{
    FILE_ALLOCATED_RANGE_BUFFER asked = {};
    asked.FileOffset.QuadPart = position;
    asked.Length.QuadPart = m_size - position;
    FILE_ALLOCATED_RANGE_BUFFER found = {};
    DWORD returned = 0;
    // The first range is enough; that there are more is told as an error.
    if (!::DeviceIoControl(handleOf(m_handle), FSCTL_QUERY_ALLOCATED_RANGES, &asked, sizeof asked, &found, sizeof found,
                           &returned, nullptr) &&
        ::GetLastError() != ERROR_MORE_DATA)
        return position;
    return returned < sizeof found ? m_size : std::max(position, std::int64_t(found.FileOffset.QuadPart));
}

} // namespace storage
