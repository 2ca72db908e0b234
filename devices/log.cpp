#include "devices/log.h"

Q_LOGGING_CATEGORY(devicesLog, "plugboard.devices", QtInfoMsg)
