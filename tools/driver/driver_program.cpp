#include "tools/driver/driver_program.h"

#include "driver/argument_vectors.h"
#include "driver/engine.h"
#include "driver/options.h"
#include "driver/output.h"
#include "driver/platform/system_platform.h"
#include "driver/sealed_package.h"

namespace {

/// The one argument, where there is one.
std::wstring onlyArgument(const std::vector<std::wstring>& arguments)
{
    return arguments.size() == 2 ? arguments[1] : std::wstring();
}

} // namespace

int runDriverProgram(const std::vector<std::wstring>& arguments, const std::filesystem::path& programFolder,
                     const std::filesystem::path& treeFile)
{
    const std::wstring asked = onlyArgument(arguments);
    if (asked == L"--version") {
        driver::systemOutput().write(driver::Stream::Normal, L"plugboard-driver " PLUGBOARD_VERSION L"\n");
        return 0;
    }
    const bool simulated = PLUGBOARD_TREE_VARIABLE && !treeFile.empty();
    const auto platform = simulated ? driver::simulatedPlatform(treeFile) : driver::systemPlatform(programFolder);
    driver::ArgumentVector others = arguments;
    const driver::Seal seal = driver::takeSeal(others); // holds the package until the end
    if (seal.isBroken) {
        driver::systemOutput().write(driver::Stream::Error, L"The driver package is not the one that the user was "
                                                            L"asked about, or cannot be read: nothing was done.\n");
        return static_cast<int>(driver::kFailure);
    }
    const driver::Extras extras = driver::takeExtras(others);
    auto vectors = driver::splitArgumentVectors(others);
    if (asked == L"--help" || asked == L"-h")
        vectors.front()[1] = L"help";
    return static_cast<int>(driver::DriverEngine(*platform, driver::systemOutput(), extras).runEach(vectors));
}
