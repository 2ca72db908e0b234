// log.h: the log category of security keys.
#pragma once

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(securityKeyLog)
