#include "tools/driver/driver_program.h"

#include "driver/engine.h"
#include "driver/platform/system_platform.h"

int runDriverProgram(const std::vector<std::wstring>& arguments, const std::filesystem::path& programFolder,
                     const std::filesystem::path& treeFile)
{
    const auto platform =
        treeFile.empty() ? driver::systemPlatform(programFolder) : driver::simulatedPlatform(treeFile);
    return static_cast<int>(driver::DriverEngine(*platform).run(arguments));
}
