#include "devices/device_launcher.h"

#include "devices/device_process.h"
#include "devices/log.h"
#include "devices/parameter_encryptor.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>

#include <vector>

namespace {

constexpr int kStartTimeoutMs = 30000;

/// How long a device process that does not read may hold up the program. A pipe takes far more than any message at
/// once, so this is hardly ever waited for; the event loop writes what is left.
constexpr int kWriteTimeoutMs = 1000;

/// Keeps a process object for ever. The list is never destroyed either, as that would end the devices.
DeviceProcess* keep(DeviceProcess* process)
{
    static auto* const s_kept = new std::vector<DeviceProcess*>;
    s_kept->push_back(process);
    return process;
}

/// Null when it did not start.
DeviceProcess* start(const QString& program)
{
    DeviceProcess* process = keep(new DeviceProcess(program));
    process->start(QIODevice::ReadWrite);
    if (!process->waitForStarted(kStartTimeoutMs)) {
        qCWarning(devicesLog).noquote() << "Device process does not start:" << program << process->errorString();
        return nullptr;
    }
    qCInfo(devicesLog) << "Device process started, process" << process->processId();
    return process;
}

QByteArray publicKeyPem()
{
    QFile file(QStringLiteral(":/config/res/param_public.pem"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Out now, not when the event loop turns: the start of a further device would keep this one waiting until then.
void push(DeviceProcess& process, const QByteArray& message)
{
    process.write(message);
    QDeadlineTimer deadline(kWriteTimeoutMs);
    while (process.bytesToWrite() > 0 && !deadline.hasExpired()) {
        if (!process.waitForBytesWritten(static_cast<int>(deadline.remainingTime())))
            return;
    }
}

} // namespace

DeviceLauncher::DeviceLauncher() : DeviceLauncher(QCoreApplication::applicationDirPath())
{}

DeviceLauncher::DeviceLauncher(const QString& folder) : m_program(folder + QLatin1Char('/') + deviceProgramName())
{}

std::optional<qint64> DeviceLauncher::launch(const QString& joinedParameters) const
{
    DeviceProcess* process = start(m_program);
    if (!process)
        return std::nullopt;
    const qint64 processId = process->processId(); // 0 once it has ended, which it may while the message is written
    const QByteArray message = parameterMessage(joinedParameters, publicKeyPem());
    push(*process, message);
    qCDebug(devicesLog) << "Parameters handed to process" << processId << "in" << message.size() << "bytes";
    if (process->bytesToWrite() > 0)
        qCWarning(devicesLog) << "Device process does not read its parameters, process" << processId;
    return processId;
}

qint64 DeviceLauncher::launchBare() const
{
    const DeviceProcess* process = start(m_program);
    return process ? process->processId() : 0;
}

QString deviceProgramName()
{
    return QStringLiteral("usb-daemon.exe");
}

QByteArray parameterMessage(const QString& joinedParameters, const QByteArray& publicKeyPem)
{
    ParameterEncryptor encryptor;
    encryptor.loadPublicKey(publicKeyPem);
    return encryptor.encrypt(joinedParameters.toUtf8()).toBase64() + '\n';
}
