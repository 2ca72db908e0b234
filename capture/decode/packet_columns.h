// packet_columns.h: the columns of the packet table and their texts.
#pragma once

#include "capture/channel/capture_types.h"

/// Columns in the order of the table.
enum PacketColumn
{
    TimeColumn,
    SequenceColumn,
    KindColumn,
    EndpointColumn,
    TransferTypeColumn,
    DirectionColumn,
    LengthColumn,
    SetupColumn,
    DataColumn,
    DetailsColumn,
    PacketColumnCount,
};

/// What the column shows of a packet: "hh:mm:ss.zzz" local time, decimal numbers, "REQ" or "REP", upper-case hex pairs
/// of at most 8 setup and 64 data bytes, the one-line decoding. Not translated. Empty for an unknown column.
QString packetColumnText(const UsbIPPacketInfo& packet, int column);

/// "CTL", "ISO", "BLK", "INT", for any other type "UNK".
QString transferTypeName(int transferType);

/// All columns of a packet separated by single tabulators.
QString packetRowText(const UsbIPPacketInfo& packet);
