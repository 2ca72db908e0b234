#include "tools/usb_daemon/sessions/urb_recorder.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <initializer_list>

namespace {

constexpr int kFixedSize = 40; // bytes of a packet payload before its variable parts
constexpr int kHeaderSize = 48;
constexpr std::uint8_t kIsochronous = 1;

// USB/IP command codes
constexpr std::uint8_t kSubmit = 1;
constexpr std::uint8_t kUnlink = 2;
constexpr std::uint8_t kSubmitReply = 3;
constexpr std::uint8_t kUnlinkReply = 4;

constexpr std::int32_t kConnectionReset = -104; // status of a transfer that was taken back

void setWords(QByteArray& header, int first, std::initializer_list<std::uint32_t> words)
{
    int offset = 4 * first;
    for (const std::uint32_t word : words) {
        qToLittleEndian(word, header.data() + offset);
        offset += 4;
    }
}

} // namespace

QByteArray packetFrame(const SessionPacket& packet, std::int64_t timestamp)
{
    const int dataSize = std::min(packet.data.size(), 0xFFFF);
    const int payloadSize = kFixedSize + packet.header.size() + dataSize + packet.setup.size();
    std::array<char, 8 + kFixedSize> head{};
    head[0] = 1;
    qToLittleEndian(static_cast<std::uint32_t>(payloadSize), &head[4]);
    char* fixed = &head[8];
    qToLittleEndian(timestamp, fixed);
    qToLittleEndian(packet.deviceId, fixed + 8);
    qToLittleEndian(packet.sequenceNumber, fixed + 12);
    fixed[16] = packet.isRequest ? 1 : 0;
    fixed[17] = packet.isUnlink ? 1 : 0;
    fixed[18] = static_cast<char>(packet.endpoint);
    fixed[19] = static_cast<char>(packet.direction);
    fixed[20] = static_cast<char>(packet.command);
    qToLittleEndian(packet.transferLength, fixed + 24);
    fixed[28] = static_cast<char>(packet.transferType);
    qToLittleEndian(static_cast<std::uint16_t>(packet.header.size()), fixed + 30);
    qToLittleEndian(static_cast<std::uint16_t>(dataSize), fixed + 32);
    fixed[34] = packet.setup.isEmpty() ? 0 : 1;
    QByteArray frame;
    frame.reserve(8 + payloadSize);
    frame.append(head.data(), static_cast<int>(head.size()));
    frame.append(packet.header);
    frame.append(packet.data.constData(), dataSize);
    frame.append(packet.setup);
    return frame;
}

SessionPacket& UrbRecorder::packet(const Urb& urb, std::uint8_t command)
{
    SessionPacket& packet = m_packets.emplace_back();
    packet.deviceId = m_deviceId;
    packet.sequenceNumber = m_sequenceNumber;
    packet.isRequest = command == kSubmit || command == kUnlink;
    packet.isUnlink = command == kUnlink || command == kUnlinkReply;
    packet.endpoint = urb.endpoint;
    packet.direction = urb.in ? 1 : 0;
    packet.command = command;
    packet.transferType = urb.type;
    packet.header = QByteArray(kHeaderSize, '\0');
    setWords(packet.header, 0, {command, m_sequenceNumber, m_deviceId, urb.in ? 1U : 0U, urb.endpoint});
    return packet;
}

SessionPacket& UrbRecorder::request(const Urb& urb)
{
    ++m_sequenceNumber;
    SessionPacket& request = packet(urb, kSubmit);
    request.transferLength = urb.length;
    request.setup = urb.setup;
    const std::uint32_t isochronousPackets = urb.type == kIsochronous ? 1 : 0xFFFFFFFF;
    setWords(request.header, 5, {urb.in ? 0x200U : 0U, urb.length, 0, isochronousPackets, urb.type >= 3 ? 8U : 0U});
    if (!urb.setup.isEmpty())
        request.header.replace(40, urb.setup.size(), urb.setup);
    return request;
}

SessionPacket& UrbRecorder::reply(const Urb& urb, std::uint32_t actualLength, std::int32_t status)
{
    SessionPacket& reply = packet(urb, kSubmitReply);
    reply.transferLength = actualLength;
    const std::uint32_t isochronousPackets = urb.type == kIsochronous ? 1 : 0xFFFFFFFF;
    setWords(reply.header, 5, {static_cast<std::uint32_t>(status), actualLength, 0, isochronousPackets, 0});
    return reply;
}

void UrbRecorder::control(const QByteArray& setup, const QByteArray& data, std::int32_t status)
{
    const bool in = (static_cast<std::uint8_t>(setup.at(0)) & 0x80) != 0;
    const Urb urb{0, 0, in, qFromLittleEndian<std::uint16_t>(setup.constData() + 6), setup};
    SessionPacket& sent = request(urb);
    if (!in)
        sent.data = data;
    const QByteArray answered = data.left(static_cast<int>(urb.length));
    SessionPacket& received = reply(urb, status == 0 ? static_cast<std::uint32_t>(answered.size()) : 0, status);
    if (in && status == 0)
        received.data = answered;
}

void UrbRecorder::in(std::uint8_t type, std::uint8_t endpoint, std::uint32_t length, const QByteArray& data)
{
    const Urb urb{type, endpoint, true, length, {}};
    request(urb);
    reply(urb, static_cast<std::uint32_t>(data.size()), 0).data = data;
}

void UrbRecorder::out(std::uint8_t type, std::uint8_t endpoint, const QByteArray& data)
{
    const Urb urb{type, endpoint, false, static_cast<std::uint32_t>(data.size()), {}};
    request(urb).data = data;
    reply(urb, urb.length, 0);
}

void UrbRecorder::unlinked(std::uint8_t type, std::uint8_t endpoint, std::uint32_t length)
{
    const Urb urb{type, endpoint, true, length, {}};
    request(urb);
    const std::uint32_t taken = m_sequenceNumber++;
    setWords(packet(urb, kUnlink).header, 5, {taken});
    setWords(packet(urb, kUnlinkReply).header, 5, {static_cast<std::uint32_t>(kConnectionReset)});
}

SessionPacket UrbRecorder::take()
{
    SessionPacket packet = std::move(m_packets.front());
    m_packets.pop_front();
    return packet;
}
