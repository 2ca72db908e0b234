// guid.h: a GUID that needs no platform header.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace driver {

struct Guid
{
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::array<std::uint8_t, 8> data4 = {};

    bool operator==(const Guid&) const = default;
};

/// "{4D10A44F-446C-4481-B354-4F04E6C69812}": braces, upper case.
std::wstring guidText(const Guid& guid);

/// The reverse; any letter case, the braces required, nothing else around them.
std::optional<Guid> parseGuid(std::wstring_view text);

} // namespace driver
