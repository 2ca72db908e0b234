// log_file.h: the log of one program: a few files of bounded size, the newest without a number in its name.
#pragma once

#include "runtime/append_file.h"

/// NAME.log, then NAME.1.log (the newest of the older ones) up to NAME.4.log. Several processes may write the same log:
/// lines stay whole, and one of them changes over to a new file for all. The bound is exceeded by what is written
/// during a changeover, a few lines. Any thread, one at a time.
class LogFile
{
public:
    static constexpr qint64 kMostBytes = 1024 * 1024; ///< of one file
    static constexpr int kMostFiles = 5;

    LogFile(const QString& folder, const QString& name, qint64 mostBytes = kMostBytes);

    /// Path of the newest file.
    QString path() const { return pathOf(0); }

    /// Appends `line`, which ends in a line feed; false when it could not be written. A file that could not be opened
    /// is tried again with the next line.
    bool write(const QByteArray& line);

private:
    QString pathOf(int age) const;
    void changeOver();

    QString m_stem; ///< folder and name
    qint64 m_mostBytes;
    AppendFile m_file;
};
