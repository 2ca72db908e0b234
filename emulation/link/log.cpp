#include "emulation/link/log.h"

Q_LOGGING_CATEGORY(emulationLog, "plugboard.emulation", QtWarningMsg) // more of it once a log is kept
