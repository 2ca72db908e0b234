#include "devices/device_process.h"

#include <csignal>

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr unsigned kFirstOwn = STDERR_FILENO + 1;

} // namespace

/// Runs in the forked child, where only async-signal-safe calls are allowed. Qt opens what it opens close-on-exec;
/// other libraries do not always. The descriptors are marked, not closed: Qt reports a failed exec through one of them.
void DeviceProcess::setupChildProcess()
{
    setsid();
    // Whether anyone reads its standard error must make no difference to a device.
    std::signal(SIGPIPE, SIG_IGN);
    fcntl(STDERR_FILENO, F_SETFL, O_WRONLY | O_NONBLOCK);
    if (close_range(kFirstOwn, ~0U, CLOSE_RANGE_CLOEXEC) == 0)
        return;
    // Kernels before 5.11.
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    for (unsigned descriptor = kFirstOwn; descriptor < limit.rlim_cur; ++descriptor)
        fcntl(static_cast<int>(descriptor), F_SETFD, FD_CLOEXEC);
}

void DeviceProcess::restrictInheritance()
{
    // All of it is done in the child.
}
