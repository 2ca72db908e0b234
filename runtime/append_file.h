// append_file.h: a file that several programs append to at once.
#pragma once

#include <QByteArray>
#include <QString>

/// Each write goes to the end as it is at that moment, in one piece. The file may be renamed by anyone while it is
/// open. Readable by its owner only. Any thread, one at a time.
class AppendFile
{
public:
    AppendFile() = default;
    ~AppendFile() { close(); }
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    /// Makes the file when it is missing; false when it cannot be opened.
    bool open(const QString& path);
    void close();
    bool isOpen() const { return m_handle != kNone; }

    /// Bytes of the opened file, which is not always the one that has its name by now; -1 on failure.
    qint64 size() const;

    /// False when not all of it was written.
    bool write(const QByteArray& bytes);

private:
    static constexpr qintptr kNone = -1;

    qintptr m_handle = kNone; ///< the system's own
};
