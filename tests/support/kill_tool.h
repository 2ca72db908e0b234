// kill_tool.h: tools that stand for the one that ends a process, and end as a test wants.
#pragma once

#include "devices/process_table.h"

/// A tool of this system that ends with `exitCode`; below 0 one that cannot be run.
inline KillCommand toolExiting(int exitCode)
{
    if (exitCode < 0)
        return {QStringLiteral("no-such-tool"), {}};
#ifdef Q_OS_WIN
    return {QStringLiteral("cmd"), {QStringLiteral("/c"), QStringLiteral("exit %1").arg(exitCode)}};
#else
    return {QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("exit %1").arg(exitCode)}};
#endif
}
