// log.h: the log category of programs as such: their start and end, their windows, their settings.
#pragma once

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(appLog)
