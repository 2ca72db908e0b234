// result.h: the result codes of the driver engine, its only error channel.
#pragma once

#include <cstdint>

namespace driver {

/// What a command returns; the console program exits with it.
using ResultCode = std::uint32_t;

inline constexpr ResultCode kSuccess = 0;
inline constexpr ResultCode kRebootNeeded = 1; ///< done, and complete only after a restart
inline constexpr ResultCode kFailure = 2;
inline constexpr ResultCode kUsageError = 3; ///< wrong or missing arguments, unknown command

} // namespace driver
