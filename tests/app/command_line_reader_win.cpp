#include "tests/app/command_line_reader.h"

#include <windows.h>

#include <shellapi.h>

std::vector<std::wstring> readCommandLine(const std::wstring& line)
{
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW((L"program " + line).c_str(), &count);
    const std::vector<std::wstring> read(arguments + 1, arguments + count);
    LocalFree(arguments);
    return read;
}
