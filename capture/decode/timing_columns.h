// timing_columns.h: what can be said of a packet only beside the others: how a transfer ended and how long it took.
#pragma once

#include "capture/channel/packet_store.h"

/// Columns beyond those of packet_columns.h, in windows that have them.
enum class AnalysisColumn
{
    Status,       ///< of replies, by name
    SinceRequest, ///< of replies, ms
    SinceLast,    ///< ms since the packet before
    Meaning,      ///< to the class of the interface: see PacketMeaning
};

inline constexpr int kAnalysisColumnCount = 4;

/// All but Meaning. Looks at most 10,000 packets back for the request; empty when it is not there. Packets before
/// `first` do not count.
QString analysisColumnText(PacketReader& reader, std::size_t first, std::size_t number, AnalysisColumn column);
