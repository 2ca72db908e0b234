#include "tests/devices/device_children.h"

#include "devices/process_table.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QThread>

DeviceChildren::DeviceChildren(const QByteArray& task)
{
    qputenv("CHILD_REPORTS", m_folder.path().toUtf8());
    qputenv("CHILD_TASK", task);
}

DeviceChildren::~DeviceChildren()
{
    for (const qint64 id : m_ids) {
        if (!ProcessSnapshot::take().contains(id))
            continue;
        const KillCommand kill = killCommand(id);
        QProcess::execute(kill.program, kill.arguments);
    }
}

bool DeviceChildren::hasReport(qint64 processId, const char* kind) const
{
    // Not just there: a file that is being renamed on Windows cannot be opened for a moment.
    return QFile(path(processId, kind)).open(QIODevice::ReadOnly);
}

QByteArray DeviceChildren::report(qint64 processId, const char* kind) const
{
    QFile file(path(processId, kind));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool DeviceChildren::waitForReport(qint64 processId, const char* kind) const
{
    const QDeadlineTimer deadline(20000);
    while (!hasReport(processId, kind) && !deadline.hasExpired())
        QThread::msleep(2);
    return hasReport(processId, kind);
}

QString DeviceChildren::path(qint64 processId, const char* kind) const
{
    return m_folder.filePath(QString::number(processId) + QLatin1Char('.') + QLatin1String(kind));
}
