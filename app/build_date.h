// build_date.h: when this program was built.
#pragma once

#include <QString>

/// "Oct  6 2025": month, day padded to two characters with a blank, year. SOURCE_DATE_EPOCH sets the day at build time,
/// which is UTC's otherwise.
QString buildDate();
