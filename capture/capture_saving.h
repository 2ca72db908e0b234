// capture_saving.h: writes a capture file beside the window.
#pragma once

#include "capture/capture_types.h"

#include <QObject>

#include <atomic>
#include <deque>
#include <memory>
#include <thread>
#include <vector>

/// Writes the packets that are there when it is made as a pcapng file, on a thread of its own: a slow disk stops no
/// window. The file is whole or, when saving fails or is cancelled, what it was before; readable by its owner only.
/// Destroying it waits for the end of the writing.
class CaptureSaving : public QObject
{
    Q_OBJECT

public:
    using PacketList = std::deque<UsbIPPacketInfo>;

    /// Starts at once. `packets` may grow at its end meanwhile.
    CaptureSaving(std::shared_ptr<const PacketList> packets, const QString& path);
    ~CaptureSaving() override;

    /// finished() follows soon.
    void cancel() { m_cancelled = true; }
    /// Of the packets, 0 to 100.
    int percentDone() const;

signals:
    /// Once, on this object's thread. `error` says why the file is not there, unless saving was cancelled.
    void finished(bool saved, QString error);

private:
    using Packets = std::vector<const UsbIPPacketInfo*>;

    /// False when it was cancelled or has failed, in which case it sets `error`.
    bool write(const QString& path, const Packets& packets, QString& error);

    std::shared_ptr<const PacketList> m_packets; // keeps what the thread reads
    const std::size_t m_count;
    std::atomic<std::size_t> m_written{0};
    std::atomic<bool> m_cancelled{false};
    std::thread m_thread;
};
