// packet_rows.h: the rows that show the packets of a store.
#pragma once

#include "capture/channel/packet_store.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>

class PacketItem;
class PacketTable;

/// Keeps, in the table, a row for each packet that the filter shows. The newest 50,000 packets, 2,000 where the filter
/// is a slow one, have their rows when a call returns; what a longer capture takes more (rows of older packets,
/// deleting rows) follows in slices of 8 ms, one in each turn of the event loop, newest rows first.
class PacketRows : public QObject
{
    Q_OBJECT

public:
    using Filter = std::function<bool(const PacketView&)>;

    /// `table` outlives this or is emptied before. `filter` says which packets have rows; rebuild() follows a change.
    PacketRows(PacketTable& table, Filter filter);

    /// Shows the packets of this store from this number on in place of what was shown.
    void show(std::shared_ptr<PacketStore> store, std::size_t first);
    const std::shared_ptr<PacketStore>& store() const { return m_store; }
    /// Numbers of the packets that are looked at: those that have a row when the filter wants it.
    std::size_t first() const { return m_first; }
    std::size_t end() const { return m_end; }

    /// Takes up the packet at end(), which the store has; its row is in the table when this returns.
    void addNext();
    void rebuild();
    /// For filters that take several microseconds a packet.
    void setFilterIsSlow(bool slow) { m_filterIsSlow = slow; }
    /// The row of the packet with this number, null when it is filtered out. Completes the table if need be.
    PacketItem* rowOf(std::size_t number);
    /// Whether slices are still to come.
    bool isBusy() const { return m_slices.isActive(); }
    /// For a window that is closed while the event loop runs: deletes the rows and the table, which it takes from its
    /// window, in slices.
    static void freeInSlices(std::unique_ptr<PacketRows> rows);

signals:
    /// Rows of all packets are there.
    void completed();

private:
    void dropRows();
    void workSlice();
    bool workOnce();
    void addOlderRow();
    void tellMemory();

    PacketTable& m_table;
    Filter m_filter;
    bool m_filterIsSlow = false;
    std::shared_ptr<PacketStore> m_store = std::make_shared<PacketStore>();
    PacketReader m_reader{m_store};
    std::size_t m_first = 0;
    std::size_t m_end = 0;
    std::size_t m_withoutRows = 0; // packets from m_first up to this one wait for their rows
    QTimer m_slices;
};
