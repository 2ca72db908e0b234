#include "emulation/link/attach_helper_linux.h"

#include <QFileInfo>

#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace {

const QString kHelper = QStringLiteral("/usr/lib/plugboard/plugboard-attach");
const QString kPolicy = QStringLiteral("/usr/share/polkit-1/actions/plugboard.policy");
const QString kPolkit = QStringLiteral("/usr/bin/pkexec");
// Exit codes of pkexec's own; all others are the helper's.
constexpr int kDismissed = 126;
constexpr int kNotAuthorized = 127;

} // namespace

bool AttachHelper::isInstalled()
{
    return QFileInfo(kHelper).isExecutable() && QFileInfo(kPolicy).isReadable() && QFileInfo(kPolkit).isExecutable();
}

AttachHelper::AttachHelper(int socket, std::uint32_t deviceId, int speed, Ended ended)
    : m_socket(::fcntl(socket, F_DUPFD_CLOEXEC, 0))
    , m_ended(std::move(ended))
{
    connect(this, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this, &AttachHelper::finish);
    connect(this, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            report(-1, QStringLiteral("polkit cannot be started"));
    });
    start(kPolkit, {kHelper, QString::number(deviceId), QString::number(speed)}, QIODevice::ReadOnly);
}

AttachHelper::~AttachHelper()
{
    disconnect();
    if (state() != QProcess::NotRunning) {
        kill();
        waitForFinished();
    }
    ::close(m_socket);
}

/// In the child, before the program takes its place: only what a signal handler may call.
void AttachHelper::setupChildProcess()
{
    ::dup2(m_socket, STDIN_FILENO);
}

void AttachHelper::finish(int code, ExitStatus status)
{
    bool valid = false;
    const int port = readAllStandardOutput().trimmed().toInt(&valid);
    if (status == NormalExit && code == 0 && valid)
        return report(port, {});
    if (status == NormalExit && (code == kDismissed || code == kNotAuthorized))
        return report(-1, QStringLiteral("attaching the device was not permitted"));
    const QString said = QString::fromLocal8Bit(readAllStandardError()).trimmed().section(QLatin1Char('\n'), -1);
    report(-1, QStringLiteral("the device was not attached: ") +
                   (said.isEmpty() ? QStringLiteral("plugboard-attach broke off") : said));
}

void AttachHelper::report(int port, const QString& reason)
{
    if (const Ended ended = std::exchange(m_ended, nullptr))
        ended(port, reason);
}
