#include "capture/file/usbpcap_record.h"

#include "capture/channel/usbip_header.h"

#include <algorithm>
#include <array>

namespace {

constexpr int kHeaderSize = 27; // bytes; control transfers have one more, isochronous ones 12 and 12 for each packet
constexpr int kIsochronousHeader = kHeaderSize + 12 + 12;
constexpr std::array<std::uint16_t, 4> kFunctions{0x08, 0x0A, 0x09, 0x09}; // of requests to the bus driver

/// Places of the header's fields, in bytes.
enum Field
{
    HeaderSize = 0,
    Id = 2,
    Status = 10,
    Function = 14,
    Info = 16,
    Bus = 17,
    Device = 19,
    Endpoint = 21,
    Type = 22,
    DataSize = 23,
    Stage = 27, // of control transfers
    IsochronousCount = 31,
    IsochronousLength = 43, // of the first packet
};

constexpr std::uint8_t kFromDevice = 1; // info
constexpr std::uint8_t kSetupStage = 0;
constexpr std::uint8_t kCompleteStage = 3;

struct KnownStatus
{
    std::uint32_t windows;
    std::int32_t linux;
};

/// The first of a kind is the one that is written.
constexpr std::array<KnownStatus, 9> kStatuses{{
    {0x00000000, 0},    // success
    {0xC0000004, -32},  // stall
    {0xC0010000, -104}, // cancelled
    {0xC0010000, -2},
    {0xC0000005, -71},  // the device does not answer
    {0xC0000001, -84},  // checksum
    {0xC000000C, -75},  // more data than there was room for
    {0xC0000009, -121}, // less data than was asked for
    {0xC0007000, -19},  // the device is gone
}};

std::uint32_t windowsStatus(std::int32_t status)
{
    const auto* found = std::find_if(kStatuses.begin(), kStatuses.end(),
                                     [status](const KnownStatus& known) { return known.linux == status; });
    return found == kStatuses.end() ? 0x80000200 /* request failed */ : found->windows;
}

std::int32_t linuxStatus(std::uint32_t status)
{
    const auto* found = std::find_if(kStatuses.begin(), kStatuses.end(),
                                     [status](const KnownStatus& known) { return known.windows == status; });
    return found != kStatuses.end() ? found->linux : -5;
}

std::uint8_t channelType(std::uint8_t windowsType)
{
    constexpr std::array<std::uint8_t, 4> kChannelTypes{IsochronousTransfer, InterruptTransfer, ControlTransfer,
                                                        BulkTransfer};
    return windowsType < kChannelTypes.size() ? kChannelTypes[windowsType] : windowsType;
}

constexpr std::array<std::uint8_t, 4> kWindowsTypes{2, 0, 3, 1}; // control, isochronous, bulk, interrupt

} // namespace

RawRecord usbpcap_record::encode(const UsbIPPacketInfo& packet)
{
    const bool control = packet.transferType == ControlTransfer;
    const bool isochronous = packet.transferType == IsochronousTransfer;
    const std::size_t type = std::min<std::size_t>(packet.transferType, BulkTransfer);
    const auto status = static_cast<std::int32_t>(usbip_header::word(packet.usbipHeader, usbip_header::Status));
    const QByteArray body = (control && packet.isRequest ? packet.setupData : QByteArray()) + packet.data;
    const int headerSize = isochronous ? kIsochronousHeader : control ? kHeaderSize + 1 : kHeaderSize;
    QByteArray head(headerSize, '\0');
    putInteger(head, HeaderSize, static_cast<std::uint16_t>(headerSize));
    putInteger(head, Id, quint64(packet.deviceId) << 32 | packet.sequenceNumber);
    putInteger(head, Status, packet.isRequest ? 0U : windowsStatus(status));
    putInteger(head, Function, kFunctions[type]);
    head[Info] = packet.isRequest ? 0 : static_cast<char>(kFromDevice);
    putInteger(head, Bus, static_cast<std::uint16_t>(packet.deviceId >> 16));
    putInteger(head, Device, static_cast<std::uint16_t>(packet.deviceId));
    head[Endpoint] = static_cast<char>((packet.endpoint & 0x7F) | (packet.direction != 0 ? 0x80 : 0));
    head[Type] = static_cast<char>(packet.transferType < 4 ? kWindowsTypes[packet.transferType] : packet.transferType);
    putInteger(head, DataSize, static_cast<std::uint32_t>(body.size()));
    if (control)
        head[Stage] = static_cast<char>(packet.isRequest ? kSetupStage : kCompleteStage);
    if (isochronous) {
        putInteger<std::uint32_t>(head, IsochronousCount, 1);
        putInteger(head, IsochronousLength, carriedLength(packet));
    }
    RawRecord record;
    record.linkType = WindowsUrbLink;
    record.bytes = head + body;
    record.fullSize =
        static_cast<std::uint32_t>(std::min<quint64>(quint64(record.bytes.size()) + missingBytes(packet), 0x7FFFFFFF));
    record.microseconds = packet.timestamp * 1000;
    return record;
}

// Always little-endian, whatever the file is.
std::optional<UsbIPPacketInfo> usbpcap_record::decode(const RawRecord& source, TransferNumbers& numbers)
{
    RawRecord record = source;
    record.bigEndian = false;
    if (record.bytes.size() < kHeaderSize)
        return std::nullopt;
    const int headerSize = record.get<std::uint16_t>(HeaderSize);
    if (headerSize < kHeaderSize || headerSize > record.bytes.size())
        return std::nullopt;
    UsbIPPacketInfo packet;
    packet.timestamp = record.microseconds / 1000;
    packet.isRequest = (static_cast<std::uint8_t>(record.bytes.at(Info)) & kFromDevice) == 0;
    packet.command = packet.isRequest ? usbip_header::Submit : usbip_header::SubmitReply;
    packet.endpoint = static_cast<std::uint8_t>(record.bytes.at(Endpoint)) & 0x7F;
    packet.direction = static_cast<std::uint8_t>(record.bytes.at(Endpoint)) >> 7;
    packet.transferType = channelType(static_cast<std::uint8_t>(record.bytes.at(Type)));
    packet.deviceId = std::uint32_t(record.get<std::uint16_t>(Bus)) << 16 | record.get<std::uint16_t>(Device);
    const auto id = record.get<quint64>(Id);
    if (id >> 32 == packet.deviceId) // ours: Windows has addresses there
        packet.sequenceNumber = static_cast<std::uint32_t>(id);
    else
        packet.sequenceNumber = packet.isRequest ? numbers.ofSubmission(id) : numbers.ofCompletion(id);
    packet.data = record.bytes.mid(headerSize);
    packet.transferLength = record.get<std::uint32_t>(DataSize);
    const bool hasStage = packet.transferType == ControlTransfer && headerSize > Stage;
    if (hasStage && record.bytes.at(Stage) == kSetupStage && packet.data.size() >= 8) {
        packet.setupData = packet.data.left(8);
        packet.data.remove(0, 8);
        packet.direction = static_cast<std::uint8_t>(packet.setupData.at(0)) >> 7;
        packet.transferLength = qFromLittleEndian<std::uint16_t>(packet.setupData.constData() + 6);
    }
    packet.usbipHeader = usbip_header::make(packet, linuxStatus(record.get<std::uint32_t>(Status)));
    return packet;
}
