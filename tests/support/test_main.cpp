// test_main.cpp: runs one registered suite: PROGRAM SUITE [QtTest arguments].
#include "tests/support/suite_registry.h"

#include <QTemporaryDir>
#include <QtTest>
#ifdef PLUGBOARD_TEST_WIDGETS
#include <QApplication>
#endif

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string_view>
#include <vector>

namespace {

std::map<std::string, tests::SuiteFactory>& suites()
{
    static std::map<std::string, tests::SuiteFactory> registered;
    return registered;
}

#ifdef PLUGBOARD_TEST_WIDGETS
using Application = QApplication;
#else
using Application = QCoreApplication;
#endif

} // namespace

tests::SuiteRegistration::SuiteRegistration(const char* path, SuiteFactory factory)
{
    suites()[std::filesystem::path(path).stem().string()] = std::move(factory);
}

int main(int argc, char** argv)
{
    const auto chosen = argc > 1 ? suites().find(argv[1]) : suites().end();
    if (chosen == suites().end()) {
        std::fprintf(stderr, "usage: %s SUITE [QtTest arguments]; the suites are:\n", argv[0]);
        for (const auto& [name, factory] : suites())
            std::fprintf(stderr, "  %s\n", name.c_str());
        return 2;
    }
#ifndef _WIN32
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
#endif
    // Programs that a test starts must not touch what the user who runs it has.
    const QTemporaryDir userData;
    if (qEnvironmentVariableIsEmpty("PLUGBOARD_USER_DATA"))
        qputenv("PLUGBOARD_USER_DATA", QFile::encodeName(userData.path()));
#ifndef _WIN32
    // A socket lies in the folder for temporary files, and one that a killed program left there keeps its name taken:
    // an earlier run's must not meet a process id that has come round again.
    const QTemporaryDir temporaryFiles;
    using std::filesystem::perms;
    std::filesystem::permissions(temporaryFiles.path().toStdString(), perms::all | perms::sticky_bit); // as /tmp itself
    qputenv("TMPDIR", QFile::encodeName(temporaryFiles.path()));
#endif
    Application application(argc, argv);
    std::vector<char*> arguments(argv + 1, argv + argc);
    arguments.front() = argv[0];
#ifdef _WIN32
    // Wine can hang where a program's first window class is made by a thread other than this one; Qt makes one here.
    QCoreApplication::processEvents();
    // There QtTest's plain text goes to the debugger; this format goes to standard output.
    char output[] = "-o";
    char format[] = "-,tap";
    if (std::none_of(arguments.begin(), arguments.end(), [](const char* a) { return std::string_view(a) == "-o"; }))
        arguments.insert(arguments.end(), {output, format});
#endif
    return QTest::qExec(chosen->second().get(), int(arguments.size()), arguments.data());
}
