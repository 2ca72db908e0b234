// packed_packet.h: the bytes of one packet in a store.
#pragma once

#include "capture/channel/packet_view.h"

#include <array>

/// A packet on its way into a store. What handing out memory costs is most of the cost of a packet, so a packet of the
/// capture channel takes 32 bytes beside its data, setup and details: of its USB/IP header only the words are kept that
/// the packet's other fields do not tell already.
class PackedPacket
{
public:
    /// Refers to the packet.
    explicit PackedPacket(const UsbIPPacketInfo& packet);

    std::size_t size() const { return m_size; }
    /// Writes size() bytes.
    void write(char* place) const;

    /// Where a view's header is put together.
    using HeaderBytes = std::array<char, 48>;
    /// Refers to both.
    static PacketView read(const char* place, HeaderBytes& header);

private:
    /// The fixed part.
    struct Head
    {
        std::int64_t timestamp;
        std::uint32_t deviceId;
        std::uint32_t sequenceNumber;
        std::uint32_t transferLength;
        std::uint32_t dataSize;
        std::uint16_t unlikeWords; // a bit for each word of the header that follows
        std::uint8_t flags;
        std::uint8_t detailsSize;
        std::uint8_t endpoint;
        std::uint8_t direction;
        std::uint8_t command;
        std::uint8_t transferType;
    };
    /// Follows the fixed part of a packet that is not as those of the capture channel are.
    struct LongSizes
    {
        std::uint32_t info;
        std::uint32_t details;
        std::uint32_t setup;
        std::uint32_t header;
    };
    using Words = std::array<std::uint32_t, 12>;

    static Words expectedWords(const Head& head, const char* setup);
    static PacketView readLong(PacketView view, const Head& head, const char* part);
    void packHeader(const UsbIPPacketInfo& packet);

    const UsbIPPacketInfo& m_packet;
    QByteArray m_info;
    QByteArray m_details;
    Head m_head;
    Words m_unlike; // the words that are kept
    std::size_t m_unlikeCount = 0;
    std::size_t m_size;
};
