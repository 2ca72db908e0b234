// device_function.h: what makes a device process the device that it is: a USB function that takes commands.
#pragma once

#include "emulation/usb/function.h"

#include <QString>

#include <functional>

/// One per process, on the main thread. Made before a host is there, and there until the process ends.
class DeviceFunction : public usb::Function
{
public:
    /// Carries out one command: a line without its end, not empty, trimmed, and never `status`. Returns one line that
    /// begins with "OK: " or "ERROR: ". What takes time, as typing does, is begun and shows in status().
    virtual QString run(const QString& command) = 0;

    using Answer = std::function<void(const QString&)>;
    /// The same for whoever can wait: `answer` is called once, now or later. Overridden where the outcome of a command
    /// is known only later, as that of writing a file.
    virtual void carryOut(const QString& command, const Answer& answer) { answer(run(command)); }

    /// One line for people and scripts: what the device is doing, without "OK: ". For example "3 keys waiting, LEDs:
    /// caps".
    virtual QString status() const = 0;
};

inline QString commandDone(const QString& what)
{
    return QStringLiteral("OK: ") + what;
}

inline QString commandFailed(const QString& why)
{
    return QStringLiteral("ERROR: ") + why;
}
