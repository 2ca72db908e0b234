#include "capture/channel/packed_packet.h"

#include <QtEndian>

#include <cstring>
#include <utility>

namespace {

enum Flag : std::uint8_t
{
    IsRequest = 1,
    IsUnlink = 2,
    HasSetup = 4,  // of 8 bytes
    HasHeader = 8, // of 48 bytes
    HeaderIsBigEndian = 16,
    HasLongSizes = 32,
};

constexpr int kSetupSize = 8;   // bytes
constexpr int kHeaderSize = 48; // bytes
constexpr int kLongestDetails = 255;

std::uint32_t sizeOf(const QByteArray& bytes)
{
    return static_cast<std::uint32_t>(bytes.size());
}

void put(char*& end, const void* bytes, std::size_t size)
{
    std::memcpy(end, bytes, size);
    end += size;
}

void put(char*& end, const QByteArray& bytes)
{
    put(end, bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

std::uint32_t wordAt(const char* bytes, std::size_t place, bool bigEndian)
{
    return bigEndian ? qFromBigEndian<std::uint32_t>(bytes + 4 * place)
                     : qFromLittleEndian<std::uint32_t>(bytes + 4 * place);
}

} // namespace

PackedPacket::PackedPacket(const UsbIPPacketInfo& packet)
    : m_packet(packet)
    , m_info(packet.protocolInfo.isEmpty() ? QByteArray() : packet.protocolInfo.toUtf8())
    , m_details(packet.parsedDetails.isEmpty() ? QByteArray() : packet.parsedDetails.toUtf8())
    , m_head{packet.timestamp,
             packet.deviceId,
             packet.sequenceNumber,
             packet.transferLength,
             sizeOf(packet.data),
             0,
             static_cast<std::uint8_t>((packet.isRequest ? IsRequest : 0) | (packet.isUnlink ? IsUnlink : 0)),
             0,
             packet.endpoint,
             packet.direction,
             packet.command,
             packet.transferType}
{
    const int setup = packet.setupData.size();
    const int header = packet.usbipHeader.size();
    m_size = sizeof m_head + static_cast<std::size_t>(m_info.size() + m_details.size() + packet.data.size() + setup);
    if (!m_info.isEmpty() || m_details.size() > kLongestDetails || (setup != 0 && setup != kSetupSize) ||
        (header != 0 && header != kHeaderSize)) {
        m_head.flags |= HasLongSizes;
        m_size += sizeof(LongSizes) + static_cast<std::size_t>(header);
        return;
    }
    m_head.detailsSize = static_cast<std::uint8_t>(m_details.size());
    m_head.flags |= static_cast<std::uint8_t>(setup != 0 ? HasSetup : 0);
    if (header != 0)
        packHeader(packet);
    m_size += m_unlikeCount * sizeof(std::uint32_t);
}

/// The words that a device process writes, as far as the packet tells them: a guess that need not be right.
PackedPacket::Words PackedPacket::expectedWords(const Head& head, const char* setup)
{
    Words words{};
    words[0] = head.command;
    words[1] = head.sequenceNumber;
    words[6] = head.transferLength;
    if ((head.flags & IsRequest) != 0) {
        const bool submits = (head.flags & IsUnlink) == 0;
        words[2] = head.deviceId;
        words[3] = submits && head.direction != 0 ? 1 : 0;
        words[4] = submits ? head.endpoint : 0;
        if ((head.flags & HasSetup) != 0) {
            const bool bigEndian = (head.flags & HeaderIsBigEndian) != 0;
            words[10] = wordAt(setup, 0, bigEndian);
            words[11] = wordAt(setup, 1, bigEndian);
        }
    }
    return words;
}

void PackedPacket::packHeader(const UsbIPPacketInfo& packet)
{
    const char* header = packet.usbipHeader.constData();
    const bool bigEndian = header[0] == 0; // commands are small numbers
    m_head.flags |= static_cast<std::uint8_t>(HasHeader | (bigEndian ? HeaderIsBigEndian : 0));
    const Words expected = expectedWords(m_head, packet.setupData.constData());
    std::uint32_t unlikeWords = 0;
    // Without a branch, which would often be guessed wrong.
    for (std::size_t place = 0; place < expected.size(); ++place) {
        m_unlike[m_unlikeCount] = wordAt(header, place, bigEndian);
        const bool isUnlike = m_unlike[m_unlikeCount] != expected[place];
        unlikeWords |= static_cast<std::uint32_t>(isUnlike) << place;
        m_unlikeCount += isUnlike ? 1 : 0;
    }
    m_head.unlikeWords = static_cast<std::uint16_t>(unlikeWords);
}

void PackedPacket::write(char* place) const
{
    put(place, &m_head, sizeof m_head);
    if ((m_head.flags & HasLongSizes) != 0) {
        const LongSizes sizes{sizeOf(m_info), sizeOf(m_details), sizeOf(m_packet.setupData),
                              sizeOf(m_packet.usbipHeader)};
        put(place, &sizes, sizeof sizes);
        put(place, m_packet.data);
        put(place, m_info);
        put(place, m_details);
        put(place, m_packet.setupData);
        put(place, m_packet.usbipHeader);
        return;
    }
    put(place, m_unlike.data(), m_unlikeCount * sizeof(std::uint32_t));
    put(place, m_packet.data);
    put(place, m_details);
    put(place, m_packet.setupData);
}

PacketView PackedPacket::readLong(PacketView view, const Head& head, const char* part)
{
    const auto take = [&part](std::uint32_t size) { return std::string_view(std::exchange(part, part + size), size); };
    LongSizes sizes;
    std::memcpy(&sizes, part, sizeof sizes);
    part += sizeof sizes;
    view.data = take(head.dataSize);
    view.protocolInfo = take(sizes.info);
    view.parsedDetails = take(sizes.details);
    view.setupData = take(sizes.setup);
    view.usbipHeader = take(sizes.header);
    return view;
}

PacketView PackedPacket::read(const char* place, HeaderBytes& header)
{
    Head head;
    std::memcpy(&head, place, sizeof head);
    const char* part = place + sizeof head;
    PacketView view{head.timestamp,
                    head.deviceId,
                    head.sequenceNumber,
                    head.transferLength,
                    (head.flags & IsRequest) != 0,
                    (head.flags & IsUnlink) != 0,
                    head.endpoint,
                    head.direction,
                    head.command,
                    head.transferType,
                    {},
                    {},
                    {},
                    {},
                    {},
                    0};
    if ((head.flags & HasLongSizes) != 0)
        return readLong(view, head, part);
    const char* unlike = part;
    for (std::uint32_t words = head.unlikeWords; words != 0; words &= words - 1)
        part += sizeof(std::uint32_t);
    const auto take = [&part](std::uint32_t size) { return std::string_view(std::exchange(part, part + size), size); };
    view.data = take(head.dataSize);
    view.parsedDetails = take(head.detailsSize);
    view.setupData = take((head.flags & HasSetup) != 0 ? kSetupSize : 0);
    if ((head.flags & HasHeader) == 0)
        return view;
    Words words = expectedWords(head, view.setupData.data());
    for (std::size_t number = 0; number < words.size(); ++number) {
        if ((head.unlikeWords >> number & 1) != 0) {
            std::memcpy(&words[number], unlike, sizeof words[number]);
            unlike += sizeof words[number];
        }
        if ((head.flags & HeaderIsBigEndian) != 0)
            qToBigEndian(words[number], header.data() + 4 * number);
        else
            qToLittleEndian(words[number], header.data() + 4 * number);
    }
    view.usbipHeader = {header.data(), header.size()};
    return view;
}
