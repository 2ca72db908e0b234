// build_date.h: when this program was built.
#pragma once

#include <QString>

/// "Oct  6 2025": month, day padded to two characters with a blank, year. The day is UTC's, or that of SOURCE_DATE_EPOCH.
QString buildDate();
