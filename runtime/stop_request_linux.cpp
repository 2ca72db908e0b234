#include "runtime/stop_request.h"

#include <QSocketNotifier>

#include <csignal>

#include <sys/signalfd.h>
#include <unistd.h>

namespace {

sigset_t stopSignals()
{
    sigset_t watched;
    sigemptyset(&watched);
    sigaddset(&watched, SIGTERM);
    sigaddset(&watched, SIGINT);
    sigaddset(&watched, SIGHUP);
    return watched;
}

} // namespace

StopRequest::StopRequest()
{
    std::signal(SIGPIPE, SIG_IGN);
    const sigset_t watched = stopSignals();
    pthread_sigmask(SIG_BLOCK, &watched, nullptr);
    auto* notifier =
        new QSocketNotifier(signalfd(-1, &watched, SFD_NONBLOCK | SFD_CLOEXEC), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        signalfd_siginfo received;
        if (::read(int(notifier->socket()), &received, sizeof received) == sizeof received)
            emit stopRequested();
    });
}

StopRequest::~StopRequest()
{
    if (auto* notifier = findChild<QSocketNotifier*>())
        ::close(int(notifier->socket()));
}
