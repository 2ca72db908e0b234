#include "app/log.h"

Q_LOGGING_CATEGORY(driverLog, "plugboard.driver", QtWarningMsg) // more of it once a log is kept
