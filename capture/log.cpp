#include "capture/log.h"

Q_LOGGING_CATEGORY(captureLog, "plugboard.capture", QtWarningMsg) // more of it once a log is kept
