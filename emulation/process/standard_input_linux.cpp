#include "emulation/process/standard_input.h"

#include <cerrno>

#include <poll.h>
#include <unistd.h>

bool waitForStandardInput(QDeadlineTimer deadline)
{
    pollfd input{STDIN_FILENO, POLLIN, 0};
    int ready = 0;
    do
        ready = ::poll(&input, 1, int(deadline.remainingTime()));
    while (ready < 0 && errno == EINTR);
    return ready != 0; // a read says what is wrong
}

int readStandardInput(char* bytes, int capacity)
{
    ssize_t size = 0;
    do
        size = ::read(STDIN_FILENO, bytes, std::size_t(capacity));
    while (size < 0 && errno == EINTR);
    return size > 0 ? int(size) : 0;
}
