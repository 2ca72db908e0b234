// counterpart.h: the other packet of a transfer.
#pragma once

#include "capture/channel/packet_store.h"

#include <optional>

/// The reply of a request or the request of a reply, nearest first, as numbers of transfers can come around again.
/// Looked at are the packets from `first` up to `end`, at most `farthest` of them.
std::optional<std::size_t> counterpartOf(PacketReader& reader, std::size_t first, std::size_t end, std::size_t number,
                                         std::size_t farthest);
