// device_process.h: one running device process; what it must not inherit is settled per system.
#pragma once

#include "devices/device_end.h"

#include <QByteArray>
#include <QProcess>

#include <functional>

/// A device process inherits its three standard channels and no other descriptor or handle of this program. Its
/// standard output goes to the null device. Of its standard error the last line is kept, for the log line of its end;
/// what it prints there while this program does not read, or has ended, is lost without harm. On Linux it leads a
/// session of its own, so that an interrupt on this program's terminal does not end it.
class DeviceProcess final : public QProcess
{
public:
    /// `ended`, which may be empty, is called when it has ended after it had been started.
    DeviceProcess(const QString& program, std::function<void(const DeviceEnd&)> ended);

protected:
    void setupChildProcess() override;

private:
    void restrictInheritance();
    void keepLastOutput();
    DeviceEnd takeEnd(int exitCode, ExitStatus status);

    std::function<void(const DeviceEnd&)> m_ended;
    qint64 m_startedId = 0; ///< stays when processId() is 0 again
    QByteArray m_lastOutput;
};
