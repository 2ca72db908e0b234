// class_filters.h: the filter drivers of a setup class, kept in the class's registry key.
#pragma once

#include "driver/platform_objects.h"

namespace driver {

inline constexpr const wchar_t* kUpperFilters = L"UpperFilters";
inline constexpr const wchar_t* kLowerFilters = L"LowerFilters";

/// Registry access masks.
inline constexpr std::uint32_t kReadAccess = 0x20019;
inline constexpr std::uint32_t kReadWriteAccess = 0x2001F;

/// The list in value `name`: empty when the value is missing. Fails when it cannot be read or is no text.
Outcome<TextList> readFilters(RegistryKey& key, const std::wstring& name);

} // namespace driver
