// plugboard-driver: the driver engine on the command line.
#include "tools/driver/driver_program.h"

#include <cstdlib>

int wmain(int argc, wchar_t** argv)
{
    const std::vector<std::wstring> arguments(argv, argv + argc);
    const wchar_t* const tree = _wgetenv(L"PLUGBOARD_DEVICE_TREE");
    return runDriverProgram(arguments, {}, tree == nullptr ? L"" : tree);
}
