#include "capture/channel/packet_parser.h"

#include <QtEndian>

#include <array>

namespace {

constexpr int kSetupSize = 8;
constexpr int kStatsSize = 16;

/// The next `size` bytes of a payload, or nothing when they do not fit; only a part that fits moves the position.
class PartReader
{
public:
    PartReader(const char* begin, int size) : m_begin(begin), m_size(size) {}

    void take(int size, QByteArray& part)
    {
        const int taken = size > m_size - m_position ? 0 : size;
        part.setRawData(m_begin + m_position, static_cast<uint>(taken));
        m_position += taken;
    }

private:
    const char* m_begin;
    int m_size;
    int m_position = 0;
};

std::uint32_t counter(const QJsonObject& object, const char* key)
{
    return static_cast<std::uint32_t>(object.value(QLatin1String(key)).toInt(0));
}

} // namespace

bool parseCapturedPacket(const QByteArray& payload, UsbIPPacketInfo& packet)
{
    if (payload.size() < kPacketFixedSize)
        return false;
    const char* bytes = payload.constData();
    const auto byteAt = [bytes](int offset) { return static_cast<std::uint8_t>(bytes[offset]); };

    packet.timestamp = qFromLittleEndian<std::int64_t>(bytes);
    packet.deviceId = qFromLittleEndian<std::uint32_t>(bytes + 8);
    packet.sequenceNumber = qFromLittleEndian<std::uint32_t>(bytes + 12);
    packet.isRequest = byteAt(16) != 0;
    packet.isUnlink = byteAt(17) != 0;
    packet.endpoint = byteAt(18);
    packet.direction = byteAt(19);
    packet.command = byteAt(20);
    packet.transferLength = qFromLittleEndian<std::uint32_t>(bytes + 24);
    packet.transferType = byteAt(28);

    PartReader parts(bytes + kPacketFixedSize, payload.size() - kPacketFixedSize);
    parts.take(qFromLittleEndian<std::uint16_t>(bytes + 30), packet.usbipHeader);
    parts.take(qFromLittleEndian<std::uint16_t>(bytes + 32), packet.data);
    parts.take(byteAt(34) != 0 ? kSetupSize : 0, packet.setupData);
    packet.protocolInfo.clear();
    packet.parsedDetails.clear();
    return true;
}

QByteArray capturedPacketPayload(const UsbIPPacketInfo& packet)
{
    constexpr int kLongestPart = 65535; // bytes
    const QByteArray header = packet.usbipHeader.left(kLongestPart);
    const QByteArray data = packet.data.left(kLongestPart);
    const bool hasSetup = packet.setupData.size() == kSetupSize;
    std::array<char, kPacketFixedSize> fixed{};
    char* bytes = fixed.data();
    qToLittleEndian(packet.timestamp, bytes);
    qToLittleEndian(packet.deviceId, bytes + 8);
    qToLittleEndian(packet.sequenceNumber, bytes + 12);
    bytes[16] = packet.isRequest ? 1 : 0;
    bytes[17] = packet.isUnlink ? 1 : 0;
    bytes[18] = static_cast<char>(packet.endpoint);
    bytes[19] = static_cast<char>(packet.direction);
    bytes[20] = static_cast<char>(packet.command);
    qToLittleEndian(packet.transferLength, bytes + 24);
    bytes[28] = static_cast<char>(packet.transferType);
    qToLittleEndian(static_cast<std::uint16_t>(header.size()), bytes + 30);
    qToLittleEndian(static_cast<std::uint16_t>(data.size()), bytes + 32);
    bytes[34] = hasSetup ? 1 : 0;
    return QByteArray(bytes, kPacketFixedSize) + header + data + (hasSetup ? packet.setupData : QByteArray());
}

std::optional<CaptureStats> parseCaptureStats(const QByteArray& payload)
{
    if (payload.size() < kStatsSize)
        return std::nullopt;
    const auto word = [&payload](int index) {
        return qFromLittleEndian<std::uint32_t>(payload.constData() + 4 * index);
    };
    return CaptureStats{word(0), word(1), word(2), word(3)};
}

CaptureStats captureStatsFromJson(const QJsonObject& object)
{
    return {counter(object, "total_packets"), counter(object, "request_packets"), counter(object, "reply_packets"),
            counter(object, "unlink_packets")};
}
