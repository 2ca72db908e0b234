// packet_search.h: looks for the next packet that somebody wants among very many.
#pragma once

#include "capture/decode/packet_filter.h"

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
    /// on at the other end; ends what it did before.
    void start(std::shared_ptr<const PacketStore> store, std::size_t first, std::size_t end, std::size_t from,
               Direction direction, PacketFilter::Wants wants);
    bool isRunning() const { return m_slices.isActive(); }

signals:
    void found(std::size_t number);
    void foundNothing();

private:
    void workSlice();

    std::unique_ptr<PacketReader> m_reader;
    PacketFilter::Wants m_wants;
    std::size_t m_first = 0;
    std::size_t m_end = 0;
    std::size_t m_place = 0; // looked at last
    std::size_t m_left = 0;  // packets
    Direction m_direction = Direction::Next;
    QTimer m_slices;
};
