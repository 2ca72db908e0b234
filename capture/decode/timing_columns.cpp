#include "capture/decode/timing_columns.h"

#include "capture/channel/usbip_header.h"
#include "capture/decode/counterpart.h"
#include "capture/decode/status_names.h"

namespace {

QString sinceRequest(PacketReader& reader, std::size_t first, std::size_t number)
{
    constexpr std::size_t kFarthest = 10'000; // packets
    if (reader.read(number).isRequest)
        return {};
    const std::int64_t time = reader.read(number).timestamp;
    const std::optional<std::size_t> request = counterpartOf(reader, first, number, number, kFarthest);
    return request ? QString::number(time - reader.read(*request).timestamp) : QString();
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
    case AnalysisColumn::Meaning:
        break;
    }
    return {};
}
