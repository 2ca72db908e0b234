// plugboard-driver: the driver engine on the command line.
#include "driver/text.h"
#include "tools/driver/driver_program.h"

#include <cstdlib>

int main(int argc, char** argv)
{
    std::vector<std::wstring> arguments;
    for (int i = 0; i < argc; ++i)
        arguments.push_back(driver::fromUtf8(argv[i]));
    // The engine takes the program's name from after a backslash, which paths do not have here.
    if (!arguments.empty())
        arguments[0] = driver::afterLast(arguments[0], L"/");

    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    const char* const tree = std::getenv("PLUGBOARD_DEVICE_TREE");
    return runDriverProgram(arguments, program.parent_path(), tree == nullptr ? "" : tree);
}
