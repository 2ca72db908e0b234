#include "capture/urb_record.h"

#include <QtEndian>

#include <algorithm>
#include <array>

namespace {

constexpr std::array<std::uint8_t, 4> kLinuxTypes{2, 0, 3, 1}; // control, isochronous, bulk, interrupt
constexpr std::int32_t kInProgress = -115;
constexpr std::int32_t kConnectionReset = -104;
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
    DescriptorCount = 60,
};

template<typename Integer>
void put(QByteArray& record, int offset, Integer value)
{
    qToLittleEndian(value, record.data() + offset);
}

template<typename Integer>
Integer get(const QByteArray& record, int offset)
{
    return qFromLittleEndian<Integer>(record.constData() + offset);
}

std::uint32_t headerWord(const UsbIPPacketInfo& packet, int index)
{
    return packet.usbipHeader.size() < 4 * (index + 1) ? 0 : get<std::uint32_t>(packet.usbipHeader, 4 * index);
}

std::int32_t statusOf(const UsbIPPacketInfo& packet)
{
    if (packet.isRequest)
        return kInProgress;
    return packet.isUnlink ? kConnectionReset : static_cast<std::int32_t>(headerWord(packet, 5));
}

/// Whether this leg of the transfer is the one that carries data.
bool carriesData(const UsbIPPacketInfo& packet)
{
    return !packet.isUnlink && packet.isRequest == (packet.direction == 0);
}

/// One descriptor that covers all data: the channel does not say where its packets begin.
QByteArray isochronousDescriptor(const UsbIPPacketInfo& packet, std::uint32_t length)
{
    QByteArray descriptor(kDescriptorSize, '\0');
    put(descriptor, 0, packet.isRequest ? -18 : 0);
    put(descriptor, 8, length);
    return descriptor;
}

std::uint8_t transferTypeOf(std::uint8_t linuxType)
{
    const auto* found = std::find(kLinuxTypes.begin(), kLinuxTypes.end(), linuxType);
    return found == kLinuxTypes.end() ? linuxType : static_cast<std::uint8_t>(found - kLinuxTypes.begin());
}

} // namespace

std::uint32_t missingBytes(const UsbIPPacketInfo& packet)
{
    const auto present = static_cast<std::uint32_t>(packet.data.size());
    return carriesData(packet) && packet.transferLength > present ? packet.transferLength - present : 0;
}

QByteArray urb_record::encode(const UsbIPPacketInfo& packet, std::uint32_t& fullSize)
{
    const bool isochronous = packet.transferType == IsochronousTransfer;
    const bool setup = packet.isRequest && packet.transferType == ControlTransfer && packet.setupData.size() == 8;
    QByteArray body = isochronous ? isochronousDescriptor(packet, packet.transferLength) : QByteArray();
    body += packet.data;

    QByteArray record(kHeaderSize, '\0');
    put(record, Id, quint64(packet.deviceId) << 32 | packet.sequenceNumber);
    record[EventType] = packet.isRequest ? 'S' : 'C';
    record[Type] = static_cast<char>(packet.transferType < 4 ? kLinuxTypes[packet.transferType] : packet.transferType);
    record[Endpoint] = static_cast<char>((packet.endpoint & 0x7F) | (packet.direction != 0 ? 0x80 : 0));
    record[Device] = static_cast<char>(packet.deviceId & 0x7F);
    put(record, Bus, static_cast<std::uint16_t>(packet.deviceId >> 16));
    record[SetupFlag] = setup ? '\0' : '-';
    record[DataFlag] = body.isEmpty() ? (packet.direction != 0 ? '<' : '>') : '\0';
    put<std::int64_t>(record, Seconds, packet.timestamp / 1000);
    put<std::int32_t>(record, Microseconds, static_cast<std::int32_t>(packet.timestamp % 1000) * 1000);
    put(record, Status, statusOf(packet));
    put(record, UrbLength, packet.transferLength);
    put(record, DataLength, static_cast<std::uint32_t>(body.size()));
    if (setup)
        record.replace(SetupBytes, 8, packet.setupData);
    if (isochronous) {
        put<std::int32_t>(record, IsochronousCount, 1);
        put<std::int32_t>(record, Interval, 1);
        put<std::uint32_t>(record, DescriptorCount, 1);
    }
    record += body;
    fullSize = static_cast<std::uint32_t>(std::min<quint64>(quint64(record.size()) + missingBytes(packet), 0x7FFFFFFF));
    return record;
}

std::optional<UsbIPPacketInfo> urb_record::decode(const QByteArray& record)
{
    if (record.size() < kHeaderSize)
        return std::nullopt;
    UsbIPPacketInfo packet;
    const auto id = get<quint64>(record, Id);
    packet.deviceId = static_cast<std::uint32_t>(id >> 32);
    packet.sequenceNumber = static_cast<std::uint32_t>(id);
    packet.isRequest = record.at(EventType) == 'S';
    packet.command = packet.isRequest ? 1 : 3;
    packet.endpoint = static_cast<std::uint8_t>(record.at(Endpoint)) & 0x7F;
    packet.direction = static_cast<std::uint8_t>(record.at(Endpoint)) >> 7;
    packet.transferType = transferTypeOf(static_cast<std::uint8_t>(record.at(Type)));
    const auto milliseconds = static_cast<std::int64_t>(get<std::int32_t>(record, Microseconds) / 1000);
    packet.timestamp =
        static_cast<std::int64_t>(get<quint64>(record, Seconds) * 1000U + static_cast<quint64>(milliseconds));
    packet.transferLength = get<std::uint32_t>(record, UrbLength);
    if (record.at(SetupFlag) == 0)
        packet.setupData = record.mid(SetupBytes, 8);
    const auto descriptors = get<std::uint32_t>(record, DescriptorCount);
    int begin = kHeaderSize;
    if (packet.transferType == IsochronousTransfer)
        begin += kDescriptorSize * static_cast<int>(std::min<std::uint32_t>(descriptors, kMaxDescriptors));
    if (record.at(DataFlag) == 0)
        packet.data = record.mid(begin);
    return packet;
}
