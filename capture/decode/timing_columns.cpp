#include "capture/decode/timing_columns.h"

#include "capture/channel/usbip_header.h"
#include "capture/decode/status_names.h"

#include <algorithm>

namespace {

QString sinceRequest(PacketReader& reader, std::size_t first, std::size_t number)
{
    constexpr std::size_t kFarthest = 10'000; // packets
    const PacketView reply = reader.read(number);
    const auto [time, sequence, device] = std::tuple(reply.timestamp, reply.sequenceNumber, reply.deviceId);
    if (reply.isRequest)
        return {};
    const std::size_t end = std::max(first, number - std::min(number, kFarthest));
    for (std::size_t other = number; other > end;) {
        const PacketView packet = reader.read(--other);
        if (packet.isRequest && packet.sequenceNumber == sequence && packet.deviceId == device)
            return QString::number(time - packet.timestamp);
    }
    return {};
}

} // namespace

QString analysisColumnText(PacketReader& reader, std::size_t first, std::size_t number, AnalysisColumn column)
{
    const PacketView packet = reader.read(number);
    switch (column) {
    case AnalysisColumn::Status:
        if (packet.isRequest || !usbip_header::has(packet.usbipHeader, usbip_header::Status))
            return {};
        return transferStatusText(
            static_cast<std::int32_t>(usbip_header::word(packet.usbipHeader, usbip_header::Status)));
    case AnalysisColumn::SinceRequest:
        return sinceRequest(reader, first, number);
    case AnalysisColumn::SinceLast: {
        const std::int64_t time = packet.timestamp;
        return number > first ? QString::number(time - reader.read(number - 1).timestamp) : QString();
    }
    }
    return {};
}
