// windows_command_line.h: one text for several arguments, as Windows hands them to a program.
#pragma once

#include <string>
#include <vector>

/// The arguments with blanks between them, quoted so that CommandLineToArgvW and the C library of the program started
/// give them back unchanged.
std::wstring windowsCommandLine(const std::vector<std::wstring>& arguments);
