// named_code.h: tables of codes and their names.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>

struct NamedCode
{
    std::uint8_t code;
    const char* name;
};

/// The name of `code` in a table ordered by code; null when it has none.
template<std::size_t N>
const char* nameOf(const NamedCode (&table)[N], std::uint8_t code)
{
    const auto* found =
        std::lower_bound(std::begin(table), std::end(table), code,
                         [](const NamedCode& entry, std::uint8_t wanted) { return entry.code < wanted; });
    return found != std::end(table) && found->code == code ? found->name : nullptr;
}
