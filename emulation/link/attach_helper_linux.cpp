#include "emulation/link/attach_helper_linux.h"

#include <QFileInfo>

#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace {

const QString kHelper = QStringLiteral("/usr/lib/plugboard/plugboard-attach");
const QString kPolicy = QStringLiteral("/usr/share/polkit-1/actions/plugboard.policy");
const QString kPolkit = QStringLiteral("/usr/bin/pkexec");

} // namespace

bool AttachHelper::isInstalled()
{
    return QFileInfo(kHelper).isExecutable() && QFileInfo(kPolicy).isReadable() && QFileInfo(kPolkit).isExecutable();
}

AttachHelper::AttachHelper(int socket, std::uint32_t deviceId, int speed, Ended ended)
    : m_socket(::fcntl(socket, F_DUPFD_CLOEXEC, 0))
    , m_ended(std::move(ended))
{
    connect(this, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this](int code, QProcess::ExitStatus status) {
                bool valid = false;
                const int port = readAllStandardOutput().trimmed().toInt(&valid);
                report(code == 0 && status == QProcess::NormalExit && valid ? port : -1);
            });
    connect(this, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            report(-1);
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

void AttachHelper::report(int port)
{
    if (const Ended ended = std::exchange(m_ended, nullptr))
        ended(port);
}
