// usbip_header.h: the words of a USB/IP header (usbip_protocol of the Linux kernel's documentation).
#pragma once

#include "capture/channel/capture_types.h"
#include "capture/channel/packet_store.h"

#include <string_view>

namespace usbip_header {

inline constexpr int kSize = 48; ///< bytes

/// Places of words. What the sixth and later ones mean depends on the command.
enum Word
{
    Command = 0,
    SequenceNumber = 1,
    DeviceId = 2,
    Direction = 3,
    Endpoint = 4,
    TransferFlags = 5,  ///< of a submission: Linux's URB_* flags
    Status = 5,         ///< of replies: 0 or a negative error number
    UnlinkedNumber = 5, ///< of an unlink command: the sequence number that it ends
    ActualLength = 6,   ///< of replies to submissions, bytes
    StartFrame = 7,     ///< of submissions and their replies; isochronous only
    PacketCount = 8,    ///< of submissions and their replies; isochronous only
    ErrorCount = 9,     ///< of replies to submissions; isochronous only
    Interval = 9,       ///< of a submission: as Linux counts it, frames or microframes; 0 for control and bulk
};

enum CommandCode : std::uint32_t
{
    Submit = 1,
    Unlink = 2,
    SubmitReply = 3,
    UnlinkReply = 4,
};

/// The word at this place; 0 when the header ends before. Words are little-endian, unless the command word is one of
/// the four commands only when it is read big-endian, as it travels between machines.
std::uint32_t word(std::string_view header, int place);
std::uint32_t word(const QByteArray& header, int place);

/// Whether the header has that word.
template<typename Bytes>
bool has(const Bytes& header, int place)
{
    return static_cast<std::size_t>(header.size()) >= 4 * static_cast<std::size_t>(place + 1);
}

/// The header, little-endian, of a packet that came without one. `status` is that of a reply.
QByteArray make(const UsbIPPacketInfo& packet, std::int32_t status);

} // namespace usbip_header

/// Bytes that the transfer carried, or is to carry, in all: of a reply those that its header counts.
std::uint32_t carriedLength(const UsbIPPacketInfo& packet);

/// Bytes that the transfer carried on this leg but the packet does not: data of requests to and replies from the
/// device. 0 when the packet is complete.
std::uint32_t missingBytes(const UsbIPPacketInfo& packet);
std::uint32_t missingBytes(const PacketView& packet);
