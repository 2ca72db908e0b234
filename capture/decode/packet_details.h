// packet_details.h: everything that the detail view shows of one packet.
#pragma once

#include "capture/channel/capture_types.h"
#include "capture/decode/detail_row.h"

/// Basic information, the decoding that the packet's transfer type calls for, and its summary lines where it has any.
/// The top row itself has no text; its children are the view's groups. Protocol texts: not translated.
DetailRow packetDetails(const UsbIPPacketInfo& packet);
