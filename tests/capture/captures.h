// captures.h: captures that tests put into windows and files, and take out again.
#pragma once

#include "capture/file/capture_reader.h"
#include "capture/file/capture_writer.h"
#include "capture/view/capture_pane.h"
#include "tests/support/sample_traffic.h"

#include <QMap>
#include <QtEndian>

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

/// The packets of such a device as the client takes them in.
inline Packets sessionPackets(const QString& type, int count)
{
    UsbIPCaptureClient client;
    tests::SampleTraffic traffic(type, 0x10003);
    for (int packet = 0; packet < count; ++packet)
        client.receive(traffic.nextFrame(1700000000000 + packet));
    return client.packets(0x10003);
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

inline qint32 headerWord(const UsbIPPacketInfo& packet, int place, qint32 otherwise)
{
    const bool there = packet.usbipHeader.size() >= 4 * (place + 1);
    return there ? qFromBigEndian<qint32>(packet.usbipHeader.constData() + 4 * place) : otherwise;
}

/// The submissions and completions that these packets amount to: a reply to an unlink completes the transfer that the
/// unlink names, with the reply's status; nothing else is to be seen of unlinks.
inline Packets transfersOf(const Packets& packets)
{
    Packets transfers;
    QMap<qint32, UsbIPPacketInfo> pending;
    QMap<qint32, qint32> named;
    for (UsbIPPacketInfo packet : packets) {
        const auto sequence = qint32(packet.sequenceNumber);
        if (packet.isUnlink && packet.isRequest) {
            named[sequence] = headerWord(packet, 5, 0);
        } else if (packet.isUnlink) {
            if (!pending.contains(named.value(sequence)))
                continue;
            UsbIPPacketInfo ended = pending.take(named.value(sequence));
            ended.isRequest = false;
            ended.transferLength = 0;
            ended.setupData.clear();
            ended.usbipHeader = packet.usbipHeader.left(24);
            transfers.push_back(ended);
        } else {
            if (packet.isRequest)
                pending[sequence] = packet;
            else
                pending.remove(sequence);
            transfers.push_back(packet);
        }
    }
    return transfers;
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
