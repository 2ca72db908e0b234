#include "runtime/crash_notes.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>

QString crashNotePath(const QString& folder, const QString& program)
{
    // The time tells this process from an earlier one that had its id.
    return QStringLiteral("%1/%2-crash-new-%3-%4.txt")
        .arg(folder, program, QString::number(QCoreApplication::applicationPid()),
             QString::number(QDateTime::currentMSecsSinceEpoch()));
}

QStringList takeNewCrashNotes(const QString& folder, const QString& program)
{
    constexpr int kMostNotes = 10;
    const QDir directory(folder);
    QStringList taken;
    const auto notes = [&](const char* pattern) {
        return directory.entryInfoList({program + QLatin1String(pattern)}, QDir::Files, QDir::Time | QDir::Reversed);
    };
    for (const QFileInfo& note : notes("-crash-new-*.txt")) {
        QString kept = note.filePath();
        kept.replace(kept.lastIndexOf(QLatin1String("-crash-new-")), int(qstrlen("-crash-new-")),
                     QStringLiteral("-crash-%1-").arg(note.lastModified().toString(QStringLiteral("yyyyMMdd-hhmmss"))));
        if (QFile::rename(note.filePath(), kept)) // another process that starts now tells of it otherwise
            taken << kept;
    }
    QFileInfoList all = notes("-crash-*.txt");
    while (all.size() > kMostNotes)
        QFile::remove(all.takeFirst().filePath());
    return taken;
}
