// log.h: the log categories of this folder, and of the driver engine, which has no Qt and so does not log by itself.
#pragma once

#include "runtime/log.h"

Q_DECLARE_LOGGING_CATEGORY(driverLog)
