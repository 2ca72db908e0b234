// urb_record.h: a captured packet in the form that Linux records USB traffic in.
#pragma once

#include "capture/capture_types.h"

#include <optional>

/// Link type 220 of pcap files: a header of 64 bytes, isochronous descriptors where there are any, and the data. A
/// request becomes a submission, a reply a completion; both carry the same transfer number, made of device id and
/// sequence number. Integers are little-endian.
namespace urb_record {

inline constexpr int kHeaderSize = 64;

/// Bytes of the packet's record. `fullSize` becomes the size that it would have had with all of its data.
QByteArray encode(const UsbIPPacketInfo& packet, std::uint32_t& fullSize);

/// The packet of a record, without one-line decoding and without the USB/IP header, which the record does not hold;
/// nothing when the record is shorter than its header. `timestamp` comes from the record.
std::optional<UsbIPPacketInfo> decode(const QByteArray& record);

} // namespace urb_record

/// Bytes that the transfer carried on this leg but the packet does not: data of requests to and replies from the
/// device. 0 when the packet is complete.
std::uint32_t missingBytes(const UsbIPPacketInfo& packet);
