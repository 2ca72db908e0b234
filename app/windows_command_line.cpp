#include "app/windows_command_line.h"

namespace {

/// Backslashes stand for themselves, except in front of a quotation mark: there every two count as one.
std::wstring quoted(const std::wstring& argument)
{
    if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == std::wstring::npos)
        return argument;
    std::wstring text = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t character : argument) {
        if (character == L'"')
            text.append(backslashes + 1, L'\\');
        backslashes = character == L'\\' ? backslashes + 1 : 0;
        text += character;
    }
    text.append(backslashes, L'\\');
    return text + L'"';
}

} // namespace

std::wstring windowsCommandLine(const std::vector<std::wstring>& arguments)
{
    std::wstring line;
    for (const std::wstring& argument : arguments) {
        if (!line.empty())
            line += L' ';
        line += quoted(argument);
    }
    return line;
}
