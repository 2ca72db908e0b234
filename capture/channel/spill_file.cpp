#include "capture/channel/spill_file.h"

#include <QDir>

qint64 SpillFile::write(const char* bytes, qint64 size)
{
    if (!m_file) {
        m_file = std::make_unique<QTemporaryFile>(QDir::temp().filePath(QStringLiteral("plugboard-capture-XXXXXX")));
        m_file->open();
    }
    if (!m_file->isOpen() || !m_file->seek(m_size) || m_file->write(bytes, size) != size || !m_file->flush()) {
        m_error = m_file->errorString();
        return -1;
    }
    const qint64 position = m_size;
    m_size += size;
    return position;
}

bool SpillFile::read(qint64 position, char* bytes, qint64 size)
{
    return m_file && m_file->seek(position) && m_file->read(bytes, size) == size;
}
