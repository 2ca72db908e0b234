#include "emulation/channels/capture_packet.h"

#include <QtEndian>

#include <algorithm>

namespace {

constexpr int kFrameHeader = 8;     // bytes
constexpr int kFixedSize = 40;      // of a packet's payload before its parts of any length
constexpr int kLongestData = 65535; // the length word has 16 bits
constexpr char kPacketCaptured = 1; // type of the frame

} // namespace

QByteArray packetFrame(const TappedMessage& message, std::int64_t timestamp)
{
    const int dataSize = std::min(message.data.size(), kLongestData);
    const int setupSize = message.setup ? static_cast<int>(message.setup->size()) : 0;
    const int payloadSize = kFixedSize + static_cast<int>(message.header.size()) + dataSize + setupSize;
    std::array<char, kFrameHeader + kFixedSize> head{};
    head[0] = kPacketCaptured;
    qToLittleEndian(static_cast<quint32>(payloadSize), &head[4]);
    char* const fixed = &head[kFrameHeader];
    const auto command = static_cast<std::uint32_t>(message.command);
    const bool isRequest = message.command == usbip::Command::Submit || message.command == usbip::Command::Unlink;
    const bool isUnlink = message.command == usbip::Command::Unlink || message.command == usbip::Command::UnlinkReply;
    qToLittleEndian(timestamp, fixed);
    qToLittleEndian(message.deviceId, fixed + 8);
    qToLittleEndian(message.sequence, fixed + 12);
    fixed[16] = isRequest ? 1 : 0;
    fixed[17] = isUnlink ? 1 : 0;
    fixed[18] = static_cast<char>(message.endpoint);
    fixed[19] = message.in ? 1 : 0;
    fixed[20] = static_cast<char>(command);
    qToLittleEndian(message.length, fixed + 24);
    fixed[28] = static_cast<char>(message.type);
    qToLittleEndian(static_cast<quint16>(message.header.size()), fixed + 30);
    qToLittleEndian(static_cast<quint16>(dataSize), fixed + 32);
    fixed[34] = message.setup ? 1 : 0;
    QByteArray frame;
    frame.reserve(kFrameHeader + payloadSize);
    frame.append(head.data(), static_cast<int>(head.size()));
    frame.append(message.header.data(), static_cast<int>(message.header.size()));
    frame.append(message.data.constData(), dataSize);
    if (message.setup)
        frame.append(reinterpret_cast<const char*>(message.setup->data()), setupSize);
    return frame;
}
