// device_process.h: one running device process; what it must not inherit is settled per system.
#pragma once

#include <QProcess>

/// A device process inherits its three standard channels and no other descriptor or handle of this program. Its output
/// goes to the null device, where it never fills up and never breaks, also after this program has ended. On Linux it
/// leads a session of its own, so that an interrupt on this program's terminal does not end it.
class DeviceProcess final : public QProcess
{
public:
    explicit DeviceProcess(const QString& program);

protected:
    void setupChildProcess() override;

private:
    void restrictInheritance();
};
