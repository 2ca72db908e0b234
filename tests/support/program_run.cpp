#include "tests/support/program_run.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

namespace {

constexpr int kLimitMs = 60000;
constexpr int kShownByShells = 0xff; // Windows hands over all 32 bits

} // namespace

ProgramRun runWithUser(const QString& program, const QStringList& arguments, const QStringList& answers,
                       const QString& folder)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_PLUGIN_PATH"),
                       QCoreApplication::applicationDirPath() + QStringLiteral("/plugins"));
    environment.insert(QStringLiteral("QT_QPA_GENERIC_PLUGINS"),
                       QStringLiteral("programuser:") + answers.join(QLatin1Char('+')));
    environment.insert(QString::fromLatin1(kUserFolderVariable), folder);
    environment.insert(QStringLiteral("PLUGBOARD_USER_DATA"), folder);

    ProgramRun run;
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    const bool ended = process.waitForFinished(kLimitMs) && process.exitStatus() == QProcess::NormalExit;
    run.exitCode = ended ? process.exitCode() & kShownByShells : -1;
    process.kill();
    process.waitForFinished();

    QFile seen(folder + QLatin1Char('/') + QString::fromLatin1(kSeenFile));
    if (seen.open(QIODevice::ReadOnly))
        run.seen = QString::fromUtf8(seen.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return run;
}
