// packet_rows.h: the packets of a capture and the rows that show them.
#pragma once

#include "capture/capture_types.h"

#include <QObject>
#include <QTimer>

#include <deque>
#include <functional>
#include <memory>
#include <vector>

class PacketItem;
class PacketTable;

/// Keeps packets in order of arrival and, in the table, a row for each that the filter shows. The newest 50,000 packets
/// have their rows when a call returns; what a longer list takes more (rows of older packets, deleting rows, freeing
/// packets) follows in slices of 8 ms, one in each turn of the event loop, newest rows first.
class PacketRows : public QObject
{
    Q_OBJECT

public:
    using PacketList = std::deque<UsbIPPacketInfo>;
    using Filter = std::function<bool(const UsbIPPacketInfo&)>;

    /// `table` outlives this or is emptied before. `filter` says which packets have rows; rebuild() follows a change.
    PacketRows(PacketTable& table, Filter filter);

    const PacketList& packets() const { return *m_packets; }
    /// The same, to be kept: these packets are not freed while somebody else on this thread does. The list grows on.
    std::shared_ptr<const PacketList> sharedPackets() const { return m_packets; }

    /// The row is in the table when this returns.
    void add(UsbIPPacketInfo packet);
    /// Shows these packets in place of the ones there are.
    void replace(PacketList packets);
    void rebuild();
    /// The row of the packet at this position of the list, null when it is filtered out. Completes the table if need
    /// be.
    PacketItem* rowOf(std::size_t number);
    /// Whether slices are still to come.
    bool isBusy() const { return m_slices.isActive(); }
    /// For a window that is closed while the event loop runs: frees the packets, their rows and the table, which it
    /// takes from its window, in slices, together with `others`, which have no rows.
    static void freeInSlices(std::unique_ptr<PacketRows> rows, std::vector<PacketList> others);

private:
    void dropRows();
    void workSlice();
    bool workOnce();
    bool freeForgotten();
    void addOlderRow();

    using SharedList = std::shared_ptr<PacketList>;

    PacketTable& m_table;
    Filter m_filter;
    SharedList m_packets = std::make_shared<PacketList>(); // grows at its end only: rows refer to its elements
    std::size_t m_withoutRows = 0;                         // packets before this position wait for their rows
    std::vector<SharedList> m_forgotten;                   // freed once no row refers to them
    QTimer m_slices;
};
