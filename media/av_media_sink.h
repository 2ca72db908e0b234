// av_media_sink.h: the end of a chain: a bounded queue of pictures, sound and packets for another thread.
#pragma once

#include "media/av_source_sink.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <limits>
#include <mutex>
#include <optional>
#include <vector>

/// One thing that reached the end of a chain, copied.
struct MediaItem
{
    static constexpr int kFrame = 0;
    static constexpr int kPacket = 1;

    int kind = kFrame;
    int width = 0; ///< Pixels; 0 x 0 for sound.
    int height = 0;
    int format = -1; ///< FFmpeg's pixel or sample format; -1 for packets.
    std::int64_t timeStamp = 0;
    std::uint64_t number = 0; ///< How many came into the queue before it.
    bool isKeyPacket = false;

    /// Planes one after the other without line padding; interleaved samples; or the packet's bytes.
    std::vector<std::uint8_t> bytes;
};

class AVMediaSink : public AVSourceSink
{
public:
    enum class Overflow
    {
        DropOldest, ///< Live use: what is shown is never older than the queue.
        Block,      ///< Writing a file: the chain waits for room or a stop.
        StayClose,  ///< Showing: as Block, but the chain waits before it makes an item that would find no room.
    };

    /// What the queue holds at the most; one item always fits, however large it is.
    struct Bound
    {
        std::size_t items = kCapacity;
        std::size_t bytes = std::numeric_limits<std::size_t>::max();
    };

    static constexpr std::size_t kCapacity = 64;

    explicit AVMediaSink(Overflow overflow = Overflow::DropOldest);
    AVMediaSink(Overflow overflow, Bound bound);

    /// On the media thread. False after stopQueue(). What has no bytes to copy (a block of sound without samples, a
    /// picture in device memory) makes no item.
    bool pushFrame(AVFrame* frame) override;
    bool pushPacket(AVPacket* packet) override;

    /// Changes how many items may wait; before the first one, on the media thread.
    void setCapacity(std::size_t items);

    /// From any thread: the oldest item, waiting for one at most `limit`. Nothing once the queue is stopped.
    std::optional<MediaItem> take(std::chrono::milliseconds limit = {});

    /// Gives an item's memory back for the next one.
    void recycle(MediaItem&& item);

    /// Drops what waits, which does not count as dropped.
    void dropWaiting();

    /// Ends all waiting; from then on items are refused.
    void stopQueue();

    /// Items that DropOldest has dropped.
    std::uint64_t dropped() const;

    /// Items that have come in so far.
    std::uint64_t received() const;

protected:
    /// Whether what comes now is kept. Asked under the queue's lock: an item is either here when dropWaiting() comes,
    /// or comes after it.
    virtual bool isWanted() const { return true; }

private:
    MediaItem blankItem();
    bool append(MediaItem&& item);
    MediaItem removeOldest();
    bool isFull(std::size_t newBytes) const;
    void keepSpare(MediaItem&& item);

    const Overflow m_overflow;
    const Bound m_bound;
    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<MediaItem> m_items; ///< Ring of as many places as items may wait: a queue that never allocates.
    std::size_t m_first = 0;
    std::size_t m_size = 0;
    std::size_t m_bytes = 0; ///< Of the items in the ring.
    std::vector<MediaItem> m_spare;
    std::size_t m_spareBytes = 0;
    std::uint64_t m_dropped = 0;
    std::uint64_t m_received = 0;
    bool m_stopped = false;
};
