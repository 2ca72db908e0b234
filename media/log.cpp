#include "media/log.h"

Q_LOGGING_CATEGORY(mediaLog, "plugboard.media", QtInfoMsg)
