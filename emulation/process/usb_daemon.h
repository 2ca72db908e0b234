// usb_daemon.h: the life of a device process, from its message to its end.
#pragma once

#include "emulation/process/running_device.h"
#include "emulation/process/standard_input.h"

#include <QObject>

/// Waits two seconds for the parameter message and becomes the device that it describes, or the mouse when none comes.
/// A wrong message ends the process with exit code 1 and a sentence on standard error. The end of standard input means
/// nothing: devices outlive the program that made them.
class UsbDaemon : public QObject
{
    Q_OBJECT

public:
    UsbDaemon();

private:
    void takeMessage(InputLine kind, const QByteArray& message);
    void become(const DeviceDescription& device);
    void fail(const QString& sentence);

    std::unique_ptr<RunningDevice> m_device;
};
