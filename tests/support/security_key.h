// security_key.h: the parameters of a security key that tests start.
#pragma once

#include "devices/parameter_list.h"

inline QString securityKeyParameters(const QString& serialNumber)
{
    Fido2Parameters key;
    key.vid = QStringLiteral("0x1234");
    key.pid = QStringLiteral("0x5678");
    key.name = serialNumber;
    key.usbVersionChoice = QStringLiteral("2.0");
    key.serialNumber = serialNumber;
    return joinParameters(key.parameterList());
}
