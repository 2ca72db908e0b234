#include "devices/host_controller.h"

#include "devices/log.h"

#include <QFileInfo>
#include <QProcess>

namespace {

const QString kAttach = QStringLiteral("/sys/devices/platform/vhci_hcd.0/attach");
const QString kHelper = QStringLiteral("/usr/lib/plugboard/plugboard-attach");
const QString kPolicy = QStringLiteral("/usr/share/polkit-1/actions/plugboard.policy");
const QString kPolkit = QStringLiteral("/usr/bin/pkexec");

/// As the package puts it: a program in a build folder asks nobody for a password.
bool mayAskPolkit()
{
    return QFileInfo(kHelper).isExecutable() && QFileInfo(kPolicy).isReadable() && QFileInfo(kPolkit).isExecutable();
}

} // namespace

std::optional<HostWay> findHostWay()
{
    const QByteArray chosen = qgetenv("PLUGBOARD_HOST");
    if (chosen == "none")
        return HostWay::None;
    const QFileInfo attach(kAttach);
    const bool isKernel = attach.exists() && (attach.isWritable() || mayAskPolkit());
    if (chosen == "kernel")
        return isKernel ? HostWay::Kernel : HostWay::None;
    return isKernel && chosen != "server" ? HostWay::Kernel : HostWay::Server;
}

void loadHostController(QObject* owner, const std::function<void()>& loaded)
{
    if (QFileInfo::exists(kAttach) || !mayAskPolkit() || qEnvironmentVariableIsSet("PLUGBOARD_HOST"))
        return;
    auto* helper = new QProcess(owner);
    QObject::connect(helper, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), owner,
                     [helper, loaded](int code) {
                         qCInfo(devicesLog).noquote() << "Loading the virtual host controller ended with" << code
                                                      << helper->readAllStandardError().trimmed();
                         helper->deleteLater();
                         if (code == 0)
                             loaded();
                     });
    helper->start(kPolkit, {kHelper, QStringLiteral("--load")}, QIODevice::ReadOnly);
}
