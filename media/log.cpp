#include "media/log.h"

Q_LOGGING_CATEGORY(mediaLog, "plugboard.media", QtWarningMsg) // more of it once a log is kept
