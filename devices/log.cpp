#include "devices/log.h"

Q_LOGGING_CATEGORY(devicesLog, "plugboard.devices", QtWarningMsg) // more of it once a log is kept
