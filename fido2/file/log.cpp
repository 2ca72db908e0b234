#include "fido2/file/log.h"

Q_LOGGING_CATEGORY(fido2Log, "plugboard.fido2", QtWarningMsg) // more of it once a log is kept
