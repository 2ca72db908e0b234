// device_description.h: the device that a parameter list describes, checked.
#pragma once

#include "devices/device_type.h"

#include <QString>
#include <QStringList>

struct DeviceDescription
{
    DeviceType type = DeviceType::Mouse;
    QString name;
    QString vid;            ///< four lower-case hexadecimal digits
    QString pid;            ///< as `vid`
    QString usbVersion;     ///< four digits of binary-coded decimal: "0200" is USB 2.0
    QStringList parameters; ///< the list as received, "END" included; each field holds what its type asks for
};

/// The device of a process that was given no parameters.
DeviceDescription mouseDescription();
