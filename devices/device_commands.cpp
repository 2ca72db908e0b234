#include "devices/device_commands.h"

#include "runtime/local_peer.h"

#include <QDeadlineTimer>
#include <QLocalSocket>

namespace {

constexpr int kTimeout = 30000;                // ms
constexpr qint64 kLongestAnswer = 1024 * 1024; // bytes

} // namespace

QString deviceCommandServer(qint64 processId)
{
    return QStringLiteral("UsbDeviceCommands_%1").arg(processId);
}

CommandOutcome sendDeviceCommand(qint64 processId, const QString& command)
{
    const auto failed = [](const QString& why) { return CommandOutcome{false, QStringLiteral("ERROR: ") + why}; };
    if (command.contains(QLatin1Char('\n')) || command.contains(QLatin1Char('\r')))
        return failed(QStringLiteral("a command is one line"));
    QLocalSocket socket;
    const QString name = deviceCommandServer(processId);
    socket.setReadBufferSize(kLongestAnswer);
    socket.connectToServer(name);
    if (!socket.waitForConnected(kTimeout))
        return failed(QStringLiteral("no device with process id %1 takes commands").arg(processId));
    const QString fault = faultOfServer(socket.socketDescriptor(), name, processId);
    if (!fault.isEmpty())
        return failed(fault);
    socket.write(command.toUtf8() + '\n');
    const QDeadlineTimer deadline(kTimeout);
    while (!socket.canReadLine() && socket.bytesAvailable() < kLongestAnswer)
        if (!socket.waitForReadyRead(static_cast<int>(deadline.remainingTime())))
            return failed(QStringLiteral("the device gave no answer"));
    const QString line = QString::fromUtf8(socket.readLine()).trimmed();
    return {line.startsWith(QLatin1String("OK: ")), line};
}
