#include "runtime/whole_file.h"

#include <QDir>

#include <windows.h>

bool reachesDisk(int)
{
    return true; // QSaveFile has it flushed, and the descriptor is none of the system's
}

void FileLock::open(const QString& lockFile)
{
    const std::wstring path = QDir::toNativeSeparators(lockFile).toStdWString();
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    m_file = file == INVALID_HANDLE_VALUE ? -1 : reinterpret_cast<qintptr>(file);
}

bool FileLock::tryLock()
{
    OVERLAPPED wholeFile{};
    return LockFileEx(reinterpret_cast<HANDLE>(m_file), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                      &wholeFile) != 0;
}

void FileLock::close()
{
    CloseHandle(reinterpret_cast<HANDLE>(m_file)); // which releases the lock
}
