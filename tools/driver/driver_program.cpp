#include "tools/driver/driver_program.h"

#include "driver/argument_vectors.h"
#include "driver/engine.h"
#include "driver/platform/system_platform.h"

int runDriverProgram(const std::vector<std::wstring>& arguments, const std::filesystem::path& programFolder,
                     const std::filesystem::path& treeFile)
{
    const auto platform =
        treeFile.empty() ? driver::systemPlatform(programFolder) : driver::simulatedPlatform(treeFile);
    const auto vectors = driver::splitArgumentVectors(arguments);
    return static_cast<int>(driver::DriverEngine(*platform).runEach(vectors));
}
