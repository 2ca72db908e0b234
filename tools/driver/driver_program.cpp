#include "tools/driver/driver_program.h"

#include "driver/argument_vectors.h"
#include "driver/engine.h"
#include "driver/platform/system_platform.h"

#include <algorithm>

int runDriverProgram(const std::vector<std::wstring>& arguments, const std::filesystem::path& programFolder,
                     const std::filesystem::path& treeFile)
{
    const auto platform =
        treeFile.empty() ? driver::systemPlatform(programFolder) : driver::simulatedPlatform(treeFile);
    driver::DriverEngine engine(*platform);
    driver::ResultCode worst = driver::kSuccess;
    for (const driver::ArgumentVector& vector : driver::splitArgumentVectors(arguments))
        worst = std::max(worst, engine.run(vector));
    return static_cast<int>(worst);
}
