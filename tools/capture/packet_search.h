// packet_search.h: looks for the next packet that somebody wants among very many.
#pragma once

#include "capture/decode/packet_filter.h"
#include "capture/decode/seen_devices.h"

#include <QTimer>

#include <memory>

/// Looks in slices of 8 ms, one in each turn of the event loop.
class PacketSearch : public QObject
{
    Q_OBJECT

public:
    enum class Direction
    {
        Next,
        Previous,
    };

    PacketSearch();

    /// Looks through the packets from `first` up to `end`, without `end`, beginning beside the packet `from` and going
    /// on at the other end; ends what it did before. Only packets that are shown count. A text is looked for in what
    /// they mean, too, which takes several microseconds a packet.
    void start(std::shared_ptr<const PacketStore> store, std::size_t first, std::size_t end, std::size_t from,
               Direction direction, PacketFilter sought, PacketFilter::Wants isShown);
    bool isRunning() const { return m_slices.isActive(); }

signals:
    void found(std::size_t number);
    void foundNothing();

private:
    void workSlice();
    bool fits(const PacketView& packet);

    std::unique_ptr<PacketReader> m_reader;
    std::unique_ptr<SeenDevices> m_seen;
    PacketFilter m_sought;
    PacketFilter::Wants m_isShown;
    std::size_t m_first = 0;
    std::size_t m_end = 0;
    std::size_t m_place = 0; // looked at last
    std::size_t m_left = 0;  // packets
    Direction m_direction = Direction::Next;
    QTimer m_slices;
};
