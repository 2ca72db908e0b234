// spill_file.h: a temporary file for what no longer fits in memory.
#pragma once

#include <QTemporaryFile>

#include <memory>

/// Made with the first write, readable by its owner only, gone when this is.
class SpillFile
{
public:
    /// The position that read() takes, -1 when the bytes cannot be written: see error().
    qint64 write(const char* bytes, qint64 size);
    bool read(qint64 position, char* bytes, qint64 size);

    qint64 size() const { return m_size; }
    QString error() const { return m_error; }

private:
    std::unique_ptr<QTemporaryFile> m_file;
    qint64 m_size = 0;
    QString m_error;
};
