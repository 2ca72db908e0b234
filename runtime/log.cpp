#include "runtime/log.h"

Q_LOGGING_CATEGORY(appLog, "plugboard.app", QtInfoMsg)
