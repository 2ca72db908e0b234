#include "app/log.h"

Q_LOGGING_CATEGORY(appLog, "plugboard.app", QtInfoMsg)
Q_LOGGING_CATEGORY(driverLog, "plugboard.driver", QtInfoMsg)
