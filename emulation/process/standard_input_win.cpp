#include "emulation/process/standard_input.h"

#include <windows.h>

int readStandardInput(char* bytes, int capacity)
{
    // The handle is read itself, not the C library's stream: the stream's lock would be held in a blocked read, and the
    // end of the process would wait for it.
    DWORD size = 0;
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    return ReadFile(input, bytes, DWORD(capacity), &size, nullptr) ? int(size) : 0;
}
