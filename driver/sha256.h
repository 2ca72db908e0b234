// sha256.h: the hash by which a driver package is known again.
#pragma once

#include <string>
#include <string_view>

namespace driver {

/// SHA-256 of the bytes, as 64 lower-case hexadecimal digits.
std::wstring sha256Text(std::string_view bytes);

} // namespace driver
