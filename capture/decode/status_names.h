// status_names.h: the error numbers that transfers end with, by the names that Linux gives them.
#pragma once

#include <QString>

#include <cstdint>

/// "0", "-32 EPIPE" or, for a number without a name here, the number.
QString transferStatusText(std::int32_t status);
