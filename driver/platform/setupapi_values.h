// setupapi_values.h: small conversions between the engine's values and those of Windows.
#pragma once

#include "driver/platform/setupapi_handles.h"
#include "driver/platform_types.h"

#include <cstring>

namespace driver {

inline Failure lastFailure()
{
    return {GetLastError()};
}

inline Status statusOf(BOOL success)
{
    return success ? Status() : lastFailure();
}

inline Failure registryFailure(LSTATUS result)
{
    return {static_cast<ErrorCode>(result)};
}

inline Failure configurationFailure(CONFIGRET result)
{
    return {configuration::error(result)};
}

inline Status configurationStatus(CONFIGRET result)
{
    return result == CR_SUCCESS ? Status() : configurationFailure(result);
}

inline const wchar_t* nameOrNull(const std::wstring& name)
{
    return name.empty() ? nullptr : name.c_str();
}

inline GUID systemGuid(const Guid& guid)
{
    GUID result{guid.data1, guid.data2, guid.data3, {}};
    std::memcpy(result.Data4, guid.data4.data(), guid.data4.size());
    return result;
}

inline Guid guidOf(const GUID& guid)
{
    Guid result{static_cast<std::uint32_t>(guid.Data1), guid.Data2, guid.Data3, {}};
    std::memcpy(result.data4.data(), guid.Data4, result.data4.size());
    return result;
}

/// A structure of SetupAPI that says how large it is.
template<class Structure>
Structure sized()
{
    Structure structure{};
    structure.cbSize = sizeof(structure);
    return structure;
}

} // namespace driver
