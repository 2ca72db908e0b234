// setupapi_values.h: small conversions between the engine's values and those of Windows.
#pragma once

#include "driver/platform/setupapi_handles.h"
#include "driver/platform_types.h"

#include <algorithm>
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

/// Data of unknown size. `read` fills the buffer, sets type and size and returns an error: `more` with the size that is
/// needed.
template<class Read>
Outcome<RegistryData> readData(ErrorCode more, Read read)
{
    RegistryData data{0, std::vector<std::uint8_t>(512)};
    for (;;) {
        DWORD type = 0;
        auto size = static_cast<DWORD>(data.bytes.size());
        const ErrorCode error = read(data.bytes.data(), &type, &size);
        if (error == ERROR_SUCCESS) {
            data.type = type;
            data.bytes.resize(std::min<std::size_t>(size, data.bytes.size()));
            return data;
        }
        if (error != more || size <= data.bytes.size())
            return Failure{error};
        data.bytes.resize(size);
    }
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
