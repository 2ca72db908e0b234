#include "runtime/program_run.h"

#include "runtime/crash_note.h"
#include "runtime/crash_notes.h"
#include "runtime/log.h"
#include "runtime/private_files.h"
#include "runtime/user_folder.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QSysInfo>

namespace {

QString logFolder()
{
    const QString folder = userFolder() + QStringLiteral("/logs");
    QDir().mkpath(folder);
    return folder;
}

QByteArray crashHeading(const QString& program, const QString& version)
{
    return QStringLiteral("%1 %2 crashed\nsystem: %3\nstarted: %4\nprocess: %5\n")
        .arg(program, version, QSysInfo::prettyProductName(),
             QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")),
             QString::number(QCoreApplication::applicationPid()))
        .toUtf8();
}

} // namespace

ProgramRun::ProgramRun(const QString& program, const QString& version, const QString& rules)
    : m_log((keepNewFilesPrivate(), logFolder()), program, rules)
{
    const QString folder = logFolder();
    const QStringList notes = takeNewCrashNotes(folder, program);
    leaveCrashNote(crashNotePath(folder, program), crashHeading(program, version));
    qCInfo(appLog).noquote() << program << version << "starts on" << QSysInfo::prettyProductName() << "with Qt"
                             << qVersion();
    for (const QString& note : notes)
        qCWarning(appLog).noquote() << "An earlier run crashed; its note lies in" << note;
}

ProgramRun::~ProgramRun()
{
    qCInfo(appLog) << "ends";
}
