// log.h: the log category of this folder.
#pragma once

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(fido2Log)
