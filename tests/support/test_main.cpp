// test_main.cpp: runs one registered suite: PROGRAM SUITE [QtTest arguments].
#include "tests/support/suite_registry.h"

#include <QtTest>
#ifdef PLUGBOARD_TEST_WIDGETS
#include <QApplication>
#endif

#include <cstdio>
#include <filesystem>
#include <map>

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
    Application application(argc, argv);
    argv[1] = argv[0];
    return QTest::qExec(chosen->second().get(), argc - 1, argv + 1);
}
