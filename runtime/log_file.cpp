#include "runtime/log_file.h"

#include <QFile>
#include <QFileInfo>
#include <QLockFile>

LogFile::LogFile(const QString& folder, const QString& name, qint64 mostBytes)
    : m_stem(folder + QLatin1Char('/') + name)
    , m_mostBytes(mostBytes)
{}

QString LogFile::pathOf(int age) const
{
    return age == 0 ? m_stem + QStringLiteral(".log") : QStringLiteral("%1.%2.log").arg(m_stem).arg(age);
}

bool LogFile::write(const QByteArray& line)
{
    if (!m_file.isOpen() && !m_file.open(pathOf(0)))
        return false;
    // Also how a changeover by another process shows: a file that got another name is full.
    if (m_file.size() >= m_mostBytes)
        changeOver();
    return m_file.write(line);
}

/// On any failure the full file goes on being written, and the next line tries again.
void LogFile::changeOver()
{
    constexpr int kPatienceMs = 200;
    QLockFile lock(m_stem + QStringLiteral(".lock"));
    if (!lock.tryLock(kPatienceMs))
        return;
    if (QFileInfo(pathOf(0)).size() >= m_mostBytes) { // else another process was first
        QFile::remove(pathOf(kMostFiles - 1));
        for (int age = kMostFiles - 1; age > 0; --age)
            QFile::rename(pathOf(age - 1), pathOf(age));
    }
    m_file.open(pathOf(0));
}
