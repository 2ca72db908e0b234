#include "devices/process_ender.h"

#include <QProcess>

EndProcessResult endProcess(const KillCommand& tool)
{
    constexpr int kTimeLimitMs = 5000;
    QProcess process;
    process.start(tool.program, tool.arguments);
    if (!process.waitForFinished(kTimeLimitMs))
        return {};
    const bool crashed = process.exitStatus() == QProcess::CrashExit;
    return {true, crashed ? -1 : process.exitCode()};
}
