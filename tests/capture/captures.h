// captures.h: captures that tests put into windows and files, and take out again.
#pragma once

#include "capture/file/capture_reader.h"
#include "capture/file/capture_writer.h"
#include "capture/view/capture_pane.h"

#include <vector>

namespace tests {

using Packets = std::vector<UsbIPPacketInfo>;

inline std::shared_ptr<PacketStore> storeOf(const Packets& packets)
{
    auto store = std::make_shared<PacketStore>();
    for (const UsbIPPacketInfo& packet : packets)
        store->append(packet);
    return store;
}

inline Packets packetsOf(const PacketStore& store)
{
    Packets packets;
    for (std::size_t number = 0; number < store.size(); ++number)
        packets.push_back(store.at(number));
    return packets;
}

/// As if the pane's device process had sent these, all at once.
inline void receive(CapturePane& pane, const Packets& packets)
{
    for (const UsbIPPacketInfo& packet : packets)
        pane.client().store()->append(packet);
    pane.showLive();
}

/// Packets that have a row or are filtered out.
inline std::size_t countOf(CapturePane& pane)
{
    return pane.packets().end() - pane.packets().first();
}

inline bool writeCapture(QIODevice& device, const Packets& packets, const QString& path = QStringLiteral("a.pcapng"))
{
    const auto writer = CaptureWriter::forPath(path, device);
    return std::all_of(packets.begin(), packets.end(), [&](const auto& packet) { return writer->add(packet); }) &&
           writer->flush();
}

struct ReadResult
{
    Packets packets;
    QString error;
};

inline ReadResult readCapture(QIODevice& device)
{
    PacketStore store;
    JobProgress progress;
    const QString error = ::readCapture(device, store, progress);
    return {packetsOf(store), error};
}

} // namespace tests
