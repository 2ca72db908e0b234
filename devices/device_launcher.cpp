#include "devices/device_launcher.h"

#include "devices/device_process.h"
#include "devices/log.h"
#include "devices/parameter_encryptor.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>

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
DeviceProcess* start(const QString& program, const DeviceLauncher::Ended& ended)
{
    DeviceProcess* process = keep(new DeviceProcess(program, ended));
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

bool DeviceLauncher::hasProgram() const
{
    return QFileInfo(m_program).isFile();
}

std::optional<qint64> DeviceLauncher::launch(const QString& joinedParameters, const Ended& ended) const
{
    // Made first: a process waits only two seconds for it, and encrypting takes long where the machine is busy.
    const ParameterMessage message = parameterMessage(joinedParameters, publicKeyPem());
    DeviceProcess* process = start(m_program, ended);
    if (!process)
        return std::nullopt;
    const qint64 processId = process->processId(); // 0 once it has ended, which it may while the message is written
    if (!message.error.isEmpty())
        qCWarning(devicesLog).noquote() << "No parameters for process" << processId << "-" << message.error;
    push(*process, message.bytes);
    qCDebug(devicesLog) << "Message handed to process" << processId << "in" << message.bytes.size() << "bytes";
    if (process->bytesToWrite() > 0)
        qCWarning(devicesLog) << "Device process does not read its parameters, process" << processId;
    return processId;
}

qint64 DeviceLauncher::launchBare(const Ended& ended) const
{
    DeviceProcess* process = start(m_program, ended);
    if (!process)
        return 0;
    process->closeWriteChannel(); // or it would wait for a message
    return process->processId();
}

QString deviceProgramName()
{
    return QStringLiteral("usb-daemon.exe");
}

ParameterMessage parameterMessage(const QString& joinedParameters, const QByteArray& publicKeyPem)
{
    ParameterEncryptor encryptor;
    if (!encryptor.loadPublicKey(publicKeyPem))
        return {QByteArrayLiteral("\n"), encryptor.lastError()};
    const QByteArray blob = encryptor.encrypt(joinedParameters.toUtf8());
    return {blob.toBase64() + '\n', blob.isEmpty() ? encryptor.lastError() : QString()};
}
