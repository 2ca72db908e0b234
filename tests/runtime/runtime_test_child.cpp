// runtime_test_child.cpp: a program that crashes as its arguments say, or writes a log beside others.
#include "runtime/log_file.h"
#include "runtime/log_levels.h"
#include "runtime/program_run.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

namespace {

/// The system must not offer to debug a crash that is wanted.
#ifdef Q_OS_WIN
void keepDebuggersAway()
{
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
}
#else
void keepDebuggersAway()
{}
#endif

/// Where no program may write; volatile, so that no compiler sees through it.
int* volatile s_nowhere = nullptr;

/// The system, no sanitizer, is to find this fault.
[[gnu::noinline, gnu::no_sanitize("address", "undefined", "thread")]] void fault()
{
    *s_nowhere = 1;
}

[[gnu::noinline]] int useUpTheStack(int depth)
{
    volatile char filler[4096];
    std::memset(const_cast<char*>(filler), depth, sizeof filler);
    return s_nowhere ? 0 : useUpTheStack(depth + 1) + filler[depth % 4096];
}

void throwAway()
{
    throw std::runtime_error("nobody catches this");
}

int crash(const QByteArray& how)
{
    if (how == "fault")
        fault();
    else if (how == "abort")
        std::abort();
    else if (how == "exception")
        throwAway();
    else if (how == "fatal")
        qFatal("It cannot go on.");
    else if (how == "thread")
        std::thread(fault).join();
    else if (how == "stack")
        return useUpTheStack(0);
    return 0;
}

int writeLines(const QString& folder, qint64 mostBytes, int lines, char letter)
{
    LogFile log(folder, QStringLiteral("shared"), mostBytes);
    const QByteArray line = QByteArray(63, letter) + '\n';
    for (int number = 0; number < lines; ++number) {
        if (!log.write(line))
            return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("write"))
        return writeLines(arguments.value(2), arguments.value(3).toLongLong(), arguments.value(4).toInt(),
                          arguments.value(5).at(0).toLatin1());
    keepDebuggersAway();
    const ProgramRun run(QStringLiteral("child"), QStringLiteral("1.2.3"), logRules({}).rules);
    return crash(arguments.value(1).toLatin1());
}
