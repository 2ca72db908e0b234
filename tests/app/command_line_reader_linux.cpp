#include "tests/app/command_line_reader.h"

std::vector<std::wstring> readCommandLine(const std::wstring& line)
{
    std::vector<std::wstring> read;
    bool isQuoted = false;
    bool isOpen = false;
    for (std::size_t at = 0; at < line.size();) {
        const std::size_t backslashes = std::min(line.find_first_not_of(L'\\', at), line.size()) - at;
        const wchar_t next = at + backslashes < line.size() ? line[at + backslashes] : L'\0';
        if (backslashes == 0 && !isQuoted && (next == L' ' || next == L'\t')) {
            isOpen = false;
            ++at;
            continue;
        }
        if (!isOpen)
            read.emplace_back();
        isOpen = true;
        read.back().append(next == L'"' ? backslashes / 2 : backslashes, L'\\');
        at += backslashes;
        if (next == L'"') {
            if (backslashes % 2 == 1)
                read.back() += L'"';
            else
                isQuoted = !isQuoted;
            ++at;
        } else if (backslashes == 0) {
            read.back() += next;
            ++at;
        }
    }
    return read;
}
