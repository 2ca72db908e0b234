// urb_record.h: a transfer in the form that Linux records USB traffic in (usbmon of the Linux kernel's documentation).
#pragma once

#include "capture/channel/capture_types.h"
#include "capture/file/raw_record.h"
#include "capture/file/transfers.h"

#include <optional>

/// A submission or completion as usbmon hands it out: a header of 64 bytes, isochronous descriptors where there are
/// any, and the data. Both carry the same transfer number, made of device id and sequence number.
namespace urb_record {

/// A record of link type 220, little-endian. The packet is no unlink.
RawRecord encode(const UsbIPPacketInfo& packet, const SubmissionTerms& terms = {});

/// The packet of a record of link type 220, or of 189, whose header has 48 bytes; nothing when the record is shorter
/// than its header. The USB/IP header is made from the record: status and length are true, and what a record does not
/// say is 0. The device id is bus and device; `numbers` gives the sequence number.
std::optional<UsbIPPacketInfo> decode(const RawRecord& record, TransferNumbers& numbers);

} // namespace urb_record
