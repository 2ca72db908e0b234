#include "tests/support/started_program.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

namespace {

constexpr int kLimitMs = 60000;
constexpr int kShownByShells = 0xff; // Windows hands over all 32 bits

} // namespace

QString programBesideTest(const char* name)
{
#ifdef Q_OS_WIN
    const QLatin1String suffix(".exe");
#else
    const QLatin1String suffix("");
#endif
    return QCoreApplication::applicationDirPath() + QLatin1Char('/') + QLatin1String(name) + suffix;
}

ProgramOutput runBesideTest(const char* name, const QStringList& arguments, const QString& userData)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    if (!userData.isEmpty())
        environment.insert(QStringLiteral("PLUGBOARD_USER_DATA"), userData);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(programBesideTest(name), arguments);
    if (!process.waitForFinished(kLimitMs))
        return {};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

RunByUser runWithUser(const QString& program, const QStringList& arguments, const QStringList& answers,
                      const QString& folder)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_PLUGIN_PATH"),
                       QCoreApplication::applicationDirPath() + QStringLiteral("/plugins"));
    environment.insert(QStringLiteral("QT_QPA_GENERIC_PLUGINS"),
                       QStringLiteral("programuser:") + answers.join(QLatin1Char('+')));
    environment.insert(QString::fromLatin1(kUserFolderVariable), folder);
    environment.insert(QStringLiteral("PLUGBOARD_USER_DATA"), folder);

    RunByUser run;
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
