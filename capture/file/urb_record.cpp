#include "capture/file/urb_record.h"

#include "capture/channel/usbip_header.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<std::uint8_t, 4> kLinuxTypes{2, 0, 3, 1}; // control, isochronous, bulk, interrupt
constexpr std::int32_t kInProgress = -115;
constexpr int kHeaderSize = 48; // bytes
constexpr int kPaddedHeaderSize = 64;
constexpr int kDescriptorSize = 16; // of one isochronous packet
constexpr int kMaxDescriptors = 128;

/// Places of the header's fields, in bytes.
enum Field
{
    Id = 0,
    EventType = 8,
    Type = 9,
    Endpoint = 10,
    Device = 11,
    Bus = 12,
    SetupFlag = 14,
    DataFlag = 15,
    Seconds = 16,
    Microseconds = 24,
    Status = 28,
    UrbLength = 32,
    DataLength = 36,
    SetupBytes = 40,
    IsochronousErrors = 40,
    IsochronousCount = 44,
    Interval = 48,
    StartFrame = 52,
    TransferFlags = 56,
    DescriptorCount = 60,
};

std::int32_t statusOf(const UsbIPPacketInfo& packet)
{
    return packet.isRequest ? kInProgress
                            : static_cast<std::int32_t>(usbip_header::word(packet.usbipHeader, usbip_header::Status));
}

/// Marks the leg of a transfer that has no data of its own; the other one may still have none.
char dataFlagOf(const UsbIPPacketInfo& packet)
{
    const bool in = packet.direction != 0;
    if (packet.isRequest == in)
        return in ? '<' : '>';
    return '\0';
}

/// One descriptor that covers all data: the channel does not say where its packets begin.
QByteArray isochronousDescriptor(const UsbIPPacketInfo& packet, std::uint32_t length)
{
    QByteArray descriptor(kDescriptorSize, '\0');
    putInteger(descriptor, 0, packet.isRequest ? -18 : 0);
    putInteger(descriptor, 8, length);
    return descriptor;
}

std::uint8_t transferTypeOf(std::uint8_t linuxType)
{
    const auto* found = std::find(kLinuxTypes.begin(), kLinuxTypes.end(), linuxType);
    return found == kLinuxTypes.end() ? linuxType : static_cast<std::uint8_t>(found - kLinuxTypes.begin());
}

} // namespace

RawRecord urb_record::encode(const UsbIPPacketInfo& packet, const SubmissionTerms& terms)
{
    const bool isochronous = packet.transferType == IsochronousTransfer;
    const bool setup = packet.isRequest && packet.transferType == ControlTransfer && packet.setupData.size() == 8;
    const std::uint32_t length = carriedLength(packet);
    QByteArray body = isochronous ? isochronousDescriptor(packet, length) : QByteArray();
    body += packet.data;

    QByteArray record(kPaddedHeaderSize, '\0');
    putInteger(record, Id, quint64(packet.deviceId) << 32 | packet.sequenceNumber);
    record[EventType] = packet.isRequest ? 'S' : 'C';
    record[Type] = static_cast<char>(packet.transferType < 4 ? kLinuxTypes[packet.transferType] : packet.transferType);
    record[Endpoint] = static_cast<char>((packet.endpoint & 0x7F) | (packet.direction != 0 ? 0x80 : 0));
    record[Device] = static_cast<char>(packet.deviceId & 0x7F);
    putInteger(record, Bus, static_cast<std::uint16_t>(packet.deviceId >> 16));
    record[SetupFlag] = setup ? '\0' : '-';
    record[DataFlag] = dataFlagOf(packet);
    putInteger<std::int64_t>(record, Seconds, packet.timestamp / 1000);
    putInteger<std::int32_t>(record, Microseconds, static_cast<std::int32_t>(packet.timestamp % 1000) * 1000);
    putInteger(record, Status, statusOf(packet));
    putInteger(record, UrbLength, length);
    putInteger(record, DataLength, static_cast<std::uint32_t>(body.size()));
    if (setup)
        record.replace(SetupBytes, 8, packet.setupData);
    putInteger(record, Interval, terms.interval);
    putInteger(record, TransferFlags, terms.flags);
    if (isochronous) {
        putInteger<std::int32_t>(record, IsochronousCount, 1);
        putInteger(record, StartFrame, usbip_header::word(packet.usbipHeader, usbip_header::StartFrame));
        putInteger<std::uint32_t>(record, DescriptorCount, 1);
    }
    RawRecord raw;
    raw.bytes = record + body;
    raw.fullSize =
        static_cast<std::uint32_t>(std::min<quint64>(quint64(raw.bytes.size()) + missingBytes(packet), 0x7FFFFFFF));
    raw.microseconds = static_cast<qint64>(static_cast<quint64>(packet.timestamp) * 1000U); // whatever a peer said
    return raw;
}

std::optional<UsbIPPacketInfo> urb_record::decode(const RawRecord& record, TransferNumbers& numbers)
{
    const int headerSize = record.linkType == UrbLink ? kHeaderSize : kPaddedHeaderSize;
    if (record.bytes.size() < headerSize)
        return std::nullopt;
    UsbIPPacketInfo packet;
    packet.isRequest = record.bytes.at(EventType) == 'S';
    packet.command = packet.isRequest ? usbip_header::Submit : usbip_header::SubmitReply;
    packet.endpoint = static_cast<std::uint8_t>(record.bytes.at(Endpoint)) & 0x7F;
    packet.direction = static_cast<std::uint8_t>(record.bytes.at(Endpoint)) >> 7;
    packet.transferType = transferTypeOf(static_cast<std::uint8_t>(record.bytes.at(Type)));
    packet.deviceId =
        std::uint32_t(record.get<std::uint16_t>(Bus)) << 16 | static_cast<std::uint8_t>(record.bytes.at(Device));
    const auto id = record.get<quint64>(Id);
    const bool ours = id >> 32 == packet.deviceId; // the kernel's are addresses, whose upper half is no bus and device
    if (ours)
        packet.sequenceNumber = static_cast<std::uint32_t>(id);
    else
        packet.sequenceNumber = packet.isRequest ? numbers.ofSubmission(id) : numbers.ofCompletion(id);
    // The file's own time, which tools change; the record's where the form has no other.
    const auto ofRecord = static_cast<std::int64_t>(
        record.get<quint64>(Seconds) * 1000U + static_cast<quint64>(record.get<std::int32_t>(Microseconds) / 1000));
    packet.timestamp = record.microseconds != 0 ? record.microseconds / 1000 : ofRecord;
    packet.transferLength = record.get<std::uint32_t>(UrbLength);
    if (record.bytes.at(SetupFlag) == 0)
        packet.setupData = record.bytes.mid(SetupBytes, 8);
    int begin = headerSize;
    if (packet.transferType == IsochronousTransfer) {
        const auto count = record.get<std::uint32_t>(headerSize == kHeaderSize ? IsochronousCount : DescriptorCount);
        begin += kDescriptorSize * static_cast<int>(std::min<std::uint32_t>(count, kMaxDescriptors));
    }
    if (record.bytes.at(DataFlag) == 0)
        packet.data = record.bytes.mid(begin);
    packet.usbipHeader = usbip_header::make(packet, record.get<std::int32_t>(Status));
    return packet;
}
