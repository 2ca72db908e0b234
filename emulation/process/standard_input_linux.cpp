#include "emulation/process/standard_input.h"

#include <cerrno>

#include <unistd.h>

int readStandardInput(char* bytes, int capacity)
{
    ssize_t size = 0;
    do
        size = ::read(STDIN_FILENO, bytes, std::size_t(capacity));
    while (size < 0 && errno == EINTR);
    return size > 0 ? int(size) : 0;
}
