// outcome.h: what a platform operation gives back: its value, or the system's error code.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>

namespace driver {

/// Error number of the system: of the Win32 and SetupAPI range, or a configuration manager result where an operation
/// says so. 0 is never a failure.
using ErrorCode = std::uint32_t;

namespace errors {
inline constexpr ErrorCode kFileNotFound = 2;
inline constexpr ErrorCode kInvalidHandle = 6;
inline constexpr ErrorCode kInvalidData = 13; ///< a device does not have the property that was asked for
inline constexpr ErrorCode kWriteFault = 29;
inline constexpr ErrorCode kGeneralFailure = 31;
inline constexpr ErrorCode kBadNetworkPath = 53;
inline constexpr ErrorCode kInvalidParameter = 87;
inline constexpr ErrorCode kInsufficientBuffer = 122;
inline constexpr ErrorCode kModuleNotFound = 126;
inline constexpr ErrorCode kProcedureNotFound = 127;
inline constexpr ErrorCode kNameTooLong = 206;
inline constexpr ErrorCode kNoMoreItems = 259;
inline constexpr ErrorCode kServiceDoesNotExist = 1060;
inline constexpr ErrorCode kFileCorrupt = 1392;
inline constexpr ErrorCode kGeneralSyntax = 0xE0000003;
inline constexpr ErrorCode kWrongInfStyle = 0xE0000100;
inline constexpr ErrorCode kLineNotFound = 0xE0000102;
inline constexpr ErrorCode kInvalidClass = 0xE0000206;
inline constexpr ErrorCode kNoSuchDevice = 0xE000020B;
inline constexpr ErrorCode kNotDisableable = 0xE0000231;
inline constexpr ErrorCode kNotAnInstalledOemInf = 0xE000023C;
inline constexpr ErrorCode kInfInUseByDevices = 0xE000023D;
inline constexpr ErrorCode kTrustedPublisher = 0xE0000241;
inline constexpr ErrorCode kTrustNotEstablished = 0xE0000242;
} // namespace errors

/// Results of the configuration manager, a range of its own.
namespace configuration {
inline constexpr ErrorCode kNoSuchDevice = 13;
inline constexpr ErrorCode kNoMoreLogicalConfigurations = 14;
inline constexpr ErrorCode kNoMoreResources = 15;
inline constexpr ErrorCode kFailure = 19;
inline constexpr ErrorCode kBufferTooSmall = 26;
inline constexpr ErrorCode kNoSuchValue = 37;
} // namespace configuration

/// A value, or why there is none. Move-only when T is.
template<class T>
class [[nodiscard]] Outcome
{
public:
    Outcome(T value) : m_value(std::move(value)) {}
    static Outcome failed(ErrorCode code) { return Outcome(code, 0); }

    explicit operator bool() const { return m_value.has_value(); }
    ErrorCode error() const { return m_error; } ///< 0 where there is a value
    T& operator*() { return *m_value; }
    const T& operator*() const { return *m_value; }
    T* operator->() { return &*m_value; }
    const T* operator->() const { return &*m_value; }

private:
    Outcome(ErrorCode code, int) : m_error(code == 0 ? errors::kGeneralFailure : code) {}

    std::optional<T> m_value;
    ErrorCode m_error = 0;
};

/// Success, or why not, of an operation without a value.
class [[nodiscard]] Status
{
public:
    Status() = default;
    static Status failed(ErrorCode code)
    {
        Status status;
        status.m_error = code == 0 ? errors::kGeneralFailure : code;
        return status;
    }

    explicit operator bool() const { return m_error == 0; }
    ErrorCode error() const { return m_error; }

private:
    ErrorCode m_error = 0;
};

} // namespace driver
