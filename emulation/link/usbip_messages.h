// usbip_messages.h: what a USB/IP connection carries, version 1.1.1 of the protocol, as structs.
#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdint>
#include <variant>
#include <vector>

namespace usbip {

constexpr std::uint32_t kLargestTransfer = 16 * 1024 * 1024; ///< bytes
constexpr int kMostPackets = 1024;                           ///< of one isochronous transfer
constexpr std::size_t kHeaderSize = 48;                      ///< of every message once a device is imported

/// The header of a message as it travels.
using Header = std::array<char, kHeaderSize>;

enum class Command : std::uint32_t
{
    Submit = 1,
    Unlink = 2,
    SubmitReply = 3,
    UnlinkReply = 4,
};

/// Status words of replies: negative error numbers of Linux, on every system.
namespace status {
constexpr std::int32_t kOk = 0;
constexpr std::int32_t kNoMemory = -12;         ///< more in flight than the device takes
constexpr std::int32_t kStall = -32;            ///< EPIPE
constexpr std::int32_t kNoAnswer = -71;         ///< EPROTO
constexpr std::int32_t kBabble = -75;           ///< EOVERFLOW
constexpr std::int32_t kConnectionReset = -104; ///< taken back before it was answered
constexpr std::int32_t kGone = -108;            ///< ESHUTDOWN
constexpr std::int32_t kShort = -121;           ///< EREMOTEIO: fewer bytes than the host insisted on
} // namespace status

/// Bits of Submit::flags, as Linux has them.
constexpr std::uint32_t kShortNotOk = 1;

struct IsochronousPacket
{
    std::uint32_t offset = 0; ///< bytes from the start of the host's buffer
    std::uint32_t length = 0;
    std::uint32_t actual = 0;
    std::int32_t status = 0;
};

struct Submit
{
    std::uint32_t sequence = 0;
    std::uint32_t deviceId = 0;
    bool in = false;
    std::uint8_t endpoint = 0; ///< 0 to 15
    std::uint32_t flags = 0;
    std::uint32_t length = 0; ///< bytes of the host's buffer
    std::uint32_t startFrame = 0;
    std::int32_t packetCount = 0; ///< as the host says it: 0 or -1 unless isochronous
    std::uint32_t interval = 0;
    std::array<std::uint8_t, 8> setup{};
    QByteArray data; ///< OUT
    std::vector<IsochronousPacket> packets;
};

struct Unlink
{
    std::uint32_t sequence = 0;
    std::uint32_t deviceId = 0;
    std::uint32_t victim = 0; ///< sequence of the submission that is taken back
};

struct SubmitReply
{
    std::uint32_t sequence = 0;
    std::int32_t status = 0;
    std::uint32_t actualLength = 0;
    std::uint32_t startFrame = 0;
    std::int32_t packetCount = 0;
    std::uint32_t errorCount = 0; ///< isochronous packets that failed
    QByteArray data;              ///< IN; of isochronous packets without the gaps
    std::vector<IsochronousPacket> packets;
};

struct UnlinkReply
{
    std::uint32_t sequence = 0;
    std::int32_t status = 0;
};

using Message = std::variant<Submit, Unlink, SubmitReply, UnlinkReply>;

/// Speeds as the protocol counts them.
enum class Speed : std::uint32_t
{
    Unknown = 0,
    Low = 1,
    Full = 2,
    High = 3,
    Super = 5,
    SuperPlus = 6,
};

struct InterfaceSummary
{
    std::uint8_t bInterfaceClass = 0;
    std::uint8_t bInterfaceSubClass = 0;
    std::uint8_t bInterfaceProtocol = 0;
};

/// A device as device lists and imports describe it.
struct DeviceSummary
{
    QString path;  ///< at most 255 bytes of UTF-8
    QString busId; ///< at most 31
    std::uint32_t busNumber = 0;
    std::uint32_t deviceNumber = 0;
    Speed speed = Speed::High;
    std::uint16_t idVendor = 0;
    std::uint16_t idProduct = 0;
    std::uint16_t bcdDevice = 0;
    std::uint8_t bDeviceClass = 0;
    std::uint8_t bDeviceSubClass = 0;
    std::uint8_t bDeviceProtocol = 0;
    std::uint8_t bConfigurationValue = 0;
    std::uint8_t bNumConfigurations = 1;
    std::uint8_t bNumInterfaces = 0;
    std::vector<InterfaceSummary> interfaces; ///< in device lists only

    /// Number that messages name the device by.
    std::uint32_t deviceId() const { return busNumber << 16 | deviceNumber; }
};

} // namespace usbip
