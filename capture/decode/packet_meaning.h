// packet_meaning.h: what a packet says to the class of device that it belongs to.
#pragma once

#include "capture/decode/detail_row.h"
#include "capture/decode/seen_devices.h"

/// Groups with the fields, and a line that sums them up: the class request that the interface's class knows by that
/// code, the descriptors of a reply, SCSI over either transport, a security key's packet, a HID report. Both are empty
/// where nothing is known. Protocol texts: not translated.
struct PacketMeaning
{
    QString text;
    DetailRow rows; ///< without a text of its own
};

PacketMeaning packetMeaning(const UsbIPPacketInfo& packet, const PacketContext& context);

/// The line alone, for a packet of the store that `seen` reads. Several microseconds.
QString meaningText(const PacketView& packet, SeenDevices& seen);
