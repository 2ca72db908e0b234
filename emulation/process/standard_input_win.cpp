#include "emulation/process/standard_input.h"

#include <windows.h>

namespace {

constexpr DWORD kPollMs = 10;

} // namespace

bool waitForStandardInput(QDeadlineTimer deadline)
{
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    if (GetFileType(input) != FILE_TYPE_PIPE)
        return WaitForSingleObject(input, DWORD(deadline.remainingTime())) != WAIT_TIMEOUT;
    DWORD size = 0;
    // A pipe cannot be waited for; one that cannot be looked at has ended.
    while (PeekNamedPipe(input, nullptr, 0, nullptr, &size, nullptr) && size == 0) {
        if (deadline.hasExpired())
            return false;
        Sleep(kPollMs);
    }
    return true;
}

int readStandardInput(char* bytes, int capacity)
{
    // The handle is read itself, not the C library's stream: the stream's lock would be held in a blocked read, and the
    // end of the process would wait for it.
    DWORD size = 0;
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    return ReadFile(input, bytes, DWORD(capacity), &size, nullptr) ? int(size) : 0;
}
