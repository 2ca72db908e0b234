// command_line_reader.h: what a program is handed of a Windows command line.
#pragma once

#include <string>
#include <vector>

/// Windows' own reading; on another system that of the rules that Windows documents.
std::vector<std::wstring> readCommandLine(const std::wstring& line);
