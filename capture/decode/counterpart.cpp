#include "capture/decode/counterpart.h"

#include <algorithm>

std::optional<std::size_t> counterpartOf(PacketReader& reader, std::size_t first, std::size_t end, std::size_t number,
                                         std::size_t farthest)
{
    const PacketView packet = reader.read(number);
    const bool isRequest = packet.isRequest;
    const auto isCounterpart = [sequence = packet.sequenceNumber, device = packet.deviceId,
                                isRequest](const PacketView& other) {
        return other.sequenceNumber == sequence && other.deviceId == device && other.isRequest != isRequest;
    };
    if (isRequest) { // a reply comes after its request
        end = std::min(end, number + 1 + farthest);
        for (std::size_t other = number + 1; other < end; ++other) {
            if (isCounterpart(reader.read(other)))
                return other;
        }
        return std::nullopt;
    }
    const std::size_t last = std::max(first, number - std::min(number, farthest));
    for (std::size_t other = number; other > last;) {
        if (isCounterpart(reader.read(--other)))
            return other;
    }
    return std::nullopt;
}
