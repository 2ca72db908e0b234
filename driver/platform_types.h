// platform_types.h: what the operations of the system take and give back.
#pragma once

#include "driver/guid.h"
#include "driver/outcome.h"
#include "driver/registry_data.h"

#include <cstdint>
#include <string>
#include <vector>

namespace driver {

/// Sizes of the system's fixed buffers, in characters with the NUL unless said otherwise. What does not fit fails.
namespace limits {
inline constexpr std::size_t kDeviceId = 200;
inline constexpr std::size_t kClassName = 32;
inline constexpr std::size_t kClassDescription = 256;
inline constexpr std::size_t kPath = 260;
inline constexpr std::size_t kNewHardwareId = 256; ///< without the NULs after it
inline constexpr std::size_t kInfField = 4096;
inline constexpr std::size_t kLoadedText = 80;
inline constexpr std::size_t kInterfaceDetail = 8192; ///< in bytes
} // namespace limits

/// Name of a remote machine, empty for this one.
using MachineName = std::wstring;

/// Position of a device, an interface or a line within the object that gave it; valid while that object lives.
enum class DeviceIndex : std::uint32_t
{
};
enum class InterfaceIndex : std::uint32_t
{
};
enum class InfLine : std::uint32_t
{
};

enum class DeviceNode : std::uint32_t
{
};
enum class Procedure : std::uintptr_t
{
};
enum class PrivilegeId : std::uint64_t
{
};

/// What a command is about to do with the system.
enum class Access
{
    Read,
    Change
};

/// GUIDs that fitted, the number there are, and the error (insufficient buffer: `required` did not fit).
struct GuidBatch
{
    std::vector<Guid> guids;
    std::uint32_t required = 0;
    ErrorCode error = 0;
};

enum class DeviceProperty
{
    Description,
    HardwareIds,
    CompatibleIds,
    Service,
    ClassName,
    ClassGuid,
    UpperFilters,
    LowerFilters
};

struct NodeStatus
{
    std::uint32_t flags = 0;
    std::uint32_t problem = 0;
};

/// Flags of NodeStatus.
namespace node_status {
inline constexpr std::uint32_t kRootEnumerated = 0x1;
inline constexpr std::uint32_t kStarted = 0x8;
inline constexpr std::uint32_t kHasProblem = 0x400;
inline constexpr std::uint32_t kPrivateProblem = 0x8000;
inline constexpr std::uint32_t kProblemDisabled = 22; ///< a problem number
} // namespace node_status

enum class ConfigurationKind
{
    Allocated,
    Boot
};

struct Resource
{
    enum class Kind
    {
        Memory,
        Port,
        Dma,
        Interrupt,
        Other
    };
    Kind kind = Kind::Other;
    std::uint64_t start = 0; ///< or the channel or interrupt number
    std::uint64_t end = 0;
};

enum class DriverListKind
{
    Installed,
    Compatible
};

struct DriverInfo
{
    std::wstring description;
    std::wstring manufacturer;
    std::wstring provider;
    std::uint64_t version = 0; ///< four 16-bit parts, the major one on top
    std::uint64_t date = 0;    ///< 100 ns since 1601, 0 when unknown
};

struct DriverDetail
{
    std::wstring infPath;
    std::wstring section;
};

/// A path from the root of a drive on.
struct FullPath
{
    std::wstring path;
    std::wstring fileName; ///< empty when the path names a folder
};

struct InfClass
{
    Guid guid;
    std::wstring name;
};

/// What the system says of a package's signature; the signer only where it names one.
struct Verification
{
    ErrorCode error = 0;
    std::wstring signer;
};

enum class InstallFunction : std::uint32_t
{
    Remove = 5,
    PropertyChange = 18,
    RegisterDevice = 25
};

enum class StateChange : std::uint32_t
{
    Enable = 1,
    Disable = 2,
    PropertyChange = 3
};

namespace change_scope {
inline constexpr std::uint32_t kGlobal = 1;
inline constexpr std::uint32_t kConfigurationSpecific = 2;
} // namespace change_scope

struct ShutdownRequest
{
    std::uint32_t timeoutSeconds = 0;
    bool forceApplicationsClosed = false;
    bool reboot = true;
    std::uint32_t reason = 0x80010002; ///< planned, hardware, installation
};

} // namespace driver
