// packet_details.h: everything that the detail view shows of one packet.
#pragma once

#include "capture/channel/capture_types.h"
#include "capture/decode/detail_row.h"
#include "capture/decode/seen_devices.h"

/// Basic information, the decoding that the packet's transfer type calls for, and its summary lines where it has any;
/// behind them what the packet means to its class, for which others are looked at, and the words of its USB/IP header.
/// The top row itself has no text; its children are the view's groups. Protocol texts: not translated.
DetailRow packetDetails(const UsbIPPacketInfo& packet, const PacketContext& context = {});
