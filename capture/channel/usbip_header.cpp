#include "capture/channel/usbip_header.h"

#include <QtEndian>

#include <array>

namespace {

constexpr int kWord = 4; // bytes

bool isCommand(std::uint32_t word)
{
    return word >= usbip_header::Submit && word <= usbip_header::UnlinkReply;
}

std::string_view viewOf(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

/// Whether this leg of the transfer is the one that carries data.
template<typename Packet>
bool carriesData(const Packet& packet)
{
    return !packet.isUnlink && packet.isRequest == (packet.direction == 0);
}

template<typename Packet>
std::uint32_t carriedLengthOf(const Packet& packet)
{
    const bool counted =
        !packet.isRequest && !packet.isUnlink && usbip_header::has(packet.usbipHeader, usbip_header::ActualLength);
    return counted ? usbip_header::word(packet.usbipHeader, usbip_header::ActualLength) : packet.transferLength;
}

template<typename Packet>
std::uint32_t missingBytesOf(const Packet& packet)
{
    const auto present = static_cast<std::uint32_t>(packet.data.size());
    const std::uint32_t carried = carriedLengthOf(packet);
    return carriesData(packet) && carried > present ? carried - present : 0;
}

} // namespace

std::uint32_t usbip_header::word(std::string_view header, int place)
{
    const std::size_t offset = static_cast<std::size_t>(kWord) * static_cast<std::size_t>(place);
    if (header.size() < offset + kWord)
        return 0;
    const bool bigEndian = !isCommand(qFromLittleEndian<std::uint32_t>(header.data())) &&
                           isCommand(qFromBigEndian<std::uint32_t>(header.data()));
    const char* bytes = header.data() + offset;
    return bigEndian ? qFromBigEndian<std::uint32_t>(bytes) : qFromLittleEndian<std::uint32_t>(bytes);
}

std::uint32_t usbip_header::word(const QByteArray& header, int place)
{
    return word(viewOf(header), place);
}

QByteArray usbip_header::make(const UsbIPPacketInfo& packet, std::int32_t status)
{
    const std::uint32_t number = packet.isRequest ? 0 : static_cast<std::uint32_t>(status);
    const std::array<std::uint32_t, 7> words{
        packet.command, packet.sequenceNumber, packet.deviceId, packet.direction != 0 ? 1U : 0U, packet.endpoint,
        number,         packet.transferLength};
    QByteArray header(kSize, '\0');
    for (std::size_t place = 0; place < words.size(); ++place)
        qToLittleEndian(words[place], header.data() + place * kWord);
    if (packet.isRequest && packet.setupData.size() == 8)
        header.replace(kSize - 8, 8, packet.setupData);
    return header;
}

std::uint32_t carriedLength(const UsbIPPacketInfo& packet)
{
    return carriedLengthOf(packet);
}

std::uint32_t missingBytes(const UsbIPPacketInfo& packet)
{
    return missingBytesOf(packet);
}

std::uint32_t missingBytes(const PacketView& packet)
{
    return missingBytesOf(packet);
}
