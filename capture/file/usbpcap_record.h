// usbpcap_record.h: a transfer in the form that Windows tools record USB traffic in (link type 249 of pcap files).
#pragma once

#include "capture/channel/capture_types.h"
#include "capture/file/raw_record.h"

#include <optional>

namespace usbpcap_record {

/// The packet is no unlink.
RawRecord encode(const UsbIPPacketInfo& packet);

/// Nothing for a record that is damaged. One that is no transfer, or the middle stage of a control transfer that
/// another record completes, comes as a packet of an unknown type or as a reply of its own. The USB/IP header is made
/// from the record; the status becomes the error number that Linux has for it.
std::optional<UsbIPPacketInfo> decode(const RawRecord& record, TransferNumbers& numbers);

} // namespace usbpcap_record
