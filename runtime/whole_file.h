// whole_file.h: files that are written whole or not at all, and a lock for those that several processes change.
#pragma once

#include <QByteArray>
#include <QString>

class QSaveFile;

/// Removes what saves of this file left beside it when their process was killed a minute ago or longer: "PATH." and six
/// letters, large and small.
void removeLeftSaves(const QString& path);

/// Makes `bytes` the content of the file, through a new file that then replaces the old one: an interruption or a full
/// disk leaves the old file as it was. The file is readable and writable by its owner only. Only where the folder
/// refuses the new file or the replacement (another process holds the old one open on Windows, say) is the old file
/// overwritten in place, and its old bytes are put back when the new ones do not fit. Makes no folder. What interrupted
/// saves left is removed. Any thread.
/// Empty, or the system's reason why nothing was written.
QString writeWholeFile(const QString& path, const QByteArray& bytes);

/// Puts a new file in place of the old one once its last bytes have reached the disk, of which commit() alone takes no
/// notice. Empty, or the system's reason why the old file stays.
QString commitWholeFile(QSaveFile& file);

/// Whether what was written to this descriptor has reached the disk, as far as the system says; the reason is the last
/// error. Implemented per system.
bool reachesDisk(int descriptor);

/// Holds back every other process that asks for the lock of the same file, between reading and writing it. The lock is
/// that of the file "PATH.lock", which stays behind empty; the system releases it when a process ends however it ends.
/// A folder that takes no lock file gives none: the holder goes on without. Nor does a lock that is not released in
/// time, which is logged. Not recursive: a second one of the same process waits for the first in vain.
class FileLock
{
public:
    /// Waits up to `timeoutMs` for other holders.
    explicit FileLock(const QString& path, int timeoutMs = 5000);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    bool isHeld() const { return m_held; }

    static QString lockPath(const QString& path) { return path + QStringLiteral(".lock"); }

private:
    // Implemented per system.
    void open(const QString& lockFile);
    bool tryLock();
    void close();

    qintptr m_file = -1; ///< descriptor or handle; -1 for none
    bool m_held = false;
};
