// problem_names.h: what Windows' documentation calls the problems of devices.
#pragma once

#include <cstdint>
#include <string>

namespace driver {

/// "CM_PROB_DISABLED" for 22; "CM_PROB_1000" for a number without a name.
std::wstring problemName(std::uint32_t problem);

} // namespace driver
