// suite_registry.h: how a test class becomes a suite that its folder's test program can run by name.
#pragma once

#include <QObject>

#include <functional>
#include <memory>
#include <string>

namespace tests {

using SuiteFactory = std::function<std::unique_ptr<QObject>()>;

/// Registers a suite under the file name of `path` without folder and extension, as CMake names it to ctest.
struct SuiteRegistration
{
    SuiteRegistration(const char* path, SuiteFactory factory);
};

} // namespace tests

/// Put once at the end of a test file, outside any namespace.
#define PLUGBOARD_SUITE(Class) \
    static const tests::SuiteRegistration s_registration{__FILE__, [] { return std::make_unique<Class>(); }};
