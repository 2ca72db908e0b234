#include "emulation/securitykey/log.h"

Q_LOGGING_CATEGORY(securityKeyLog, "plugboard.securitykey", QtInfoMsg)
