// outcome.h: what a platform operation gives back: its value, or the system's error code.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace driver {

/// Error number of the system: Win32's, SetupAPI's (0xE...), or a result of the configuration manager in the range
/// below. 0 is never a failure.
using ErrorCode = std::uint32_t;

namespace errors {
inline constexpr ErrorCode kFileNotFound = 2;
inline constexpr ErrorCode kAccessDenied = 5;
inline constexpr ErrorCode kInvalidData = 13; ///< a device does not have the property that was asked for
inline constexpr ErrorCode kNoMoreFiles = 18;
inline constexpr ErrorCode kWriteFault = 29;
inline constexpr ErrorCode kReadFault = 30;
inline constexpr ErrorCode kGeneralFailure = 31;
inline constexpr ErrorCode kLockViolation = 33;
inline constexpr ErrorCode kBadNetworkPath = 53;
inline constexpr ErrorCode kInvalidParameter = 87;
inline constexpr ErrorCode kInsufficientBuffer = 122;
inline constexpr ErrorCode kInvalidName = 123;
inline constexpr ErrorCode kModuleNotFound = 126;
inline constexpr ErrorCode kProcedureNotFound = 127;
inline constexpr ErrorCode kNameTooLong = 206;
inline constexpr ErrorCode kFileTooLarge = 223;
inline constexpr ErrorCode kNoMoreItems = 259;
inline constexpr ErrorCode kServiceDoesNotExist = 1060;
inline constexpr ErrorCode kNotFound = 1168;
inline constexpr ErrorCode kFileCorrupt = 1392;
inline constexpr ErrorCode kGeneralSyntax = 0xE0000003;
inline constexpr ErrorCode kWrongInfStyle = 0xE0000100;
inline constexpr ErrorCode kLineNotFound = 0xE0000102;
inline constexpr ErrorCode kInvalidClass = 0xE0000206;
inline constexpr ErrorCode kNoSuchDevice = 0xE000020B;
inline constexpr ErrorCode kNoCatalog = 0xE000022F; ///< a driver package without a signature
inline constexpr ErrorCode kNotDisableable = 0xE0000231;
inline constexpr ErrorCode kNotAnInstalledOemInf = 0xE000023C;
inline constexpr ErrorCode kInfInUseByDevices = 0xE000023D;
inline constexpr ErrorCode kTrustedPublisher = 0xE0000241;
inline constexpr ErrorCode kTrustNotEstablished = 0xE0000242;
} // namespace errors

/// Results of the configuration manager, which count from 1 as Win32's errors do, in a range of their own.
namespace configuration {
inline constexpr ErrorCode kRange = 0x20000000; // the bit that neither Win32 nor SetupAPI sets without the top one

constexpr ErrorCode error(std::uint32_t result)
{
    return kRange | result;
}

inline constexpr ErrorCode kNoSuchDevice = error(13);
inline constexpr ErrorCode kNoMoreLogicalConfigurations = error(14);
inline constexpr ErrorCode kNoMoreResources = error(15);
inline constexpr ErrorCode kFailure = error(19);
inline constexpr ErrorCode kBufferTooSmall = error(26);
inline constexpr ErrorCode kNoSuchValue = error(37);

/// How it says that a device is not there.
constexpr bool isAbsence(ErrorCode code)
{
    return code == kNoSuchDevice || code == kNoSuchValue;
}
} // namespace configuration

/// Why an operation failed; what returns an Outcome or a Status returns one of these for it.
struct Failure
{
    ErrorCode code = errors::kGeneralFailure;
};

/// A value, or why there is none. Move-only when T is.
template<class T>
class [[nodiscard]] Outcome
{
public:
    template<class Value, class = std::enable_if_t<std::is_convertible_v<Value, T>>>
    Outcome(Value&& value) : m_value(std::forward<Value>(value))
    {}
    Outcome(Failure failure) : m_error(failure.code == 0 ? errors::kGeneralFailure : failure.code) {}

    explicit operator bool() const { return m_value.has_value(); }
    ErrorCode error() const { return m_error; } ///< 0 where there is a value
    T& operator*() { return *m_value; }
    const T& operator*() const { return *m_value; }
    T* operator->() { return &*m_value; }
    const T* operator->() const { return &*m_value; }

private:
    std::optional<T> m_value;
    ErrorCode m_error = 0;
};

/// Success, or why not, of an operation without a value.
class [[nodiscard]] Status
{
public:
    Status() = default;
    Status(Failure failure) : m_error(failure.code == 0 ? errors::kGeneralFailure : failure.code) {}

    explicit operator bool() const { return m_error == 0; }
    ErrorCode error() const { return m_error; }

private:
    ErrorCode m_error = 0;
};

/// An object that was opened; destroying it closes it.
template<class Object>
using Opened = Outcome<std::unique_ptr<Object>>;

} // namespace driver
