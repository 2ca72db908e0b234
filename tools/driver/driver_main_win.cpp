// plugboard-driver: the driver engine on the command line.
#include "tools/driver/driver_program.h"

#include <cstdlib>

#include <windows.h>

int wmain(int argc, wchar_t** argv)
{
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32); // and from nowhere else: the program may run elevated
    const std::vector<std::wstring> arguments(argv, argv + argc);
    const wchar_t* const tree = _wgetenv(L"PLUGBOARD_DEVICE_TREE");
    return runDriverProgram(arguments, {}, tree == nullptr ? L"" : tree);
}
