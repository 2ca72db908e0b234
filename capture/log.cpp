#include "capture/log.h"

Q_LOGGING_CATEGORY(captureLog, "plugboard.capture", QtInfoMsg)
