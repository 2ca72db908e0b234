#include "capture/packet_rows.h"

#include "capture/packet_table.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

#include <algorithm>
#include <limits>

namespace {

constexpr std::size_t kPacketsAtOnce = 50'000; // whose rows are there when a call returns
constexpr int kRowsAtOnce = 50'000;            // that are deleted before a call returns
constexpr int kSliceTime = 8;                  // ms
constexpr int kBatch = 256;                    // rows or packets between two looks at the clock
constexpr int kKeptInterval = 100;             // ms until packets that somebody else keeps are looked at again

} // namespace

PacketRows::PacketRows(PacketTable& table, Filter filter) : m_table(table), m_filter(std::move(filter))
{
    connect(&m_slices, &QTimer::timeout, this, &PacketRows::workSlice);
}

void PacketRows::add(UsbIPPacketInfo packet)
{
    m_packets->push_back(std::move(packet));
    if (m_filter(m_packets->back()))
        m_table.appendRow(new PacketItem(m_packets->back(), static_cast<std::uint32_t>(m_packets->size() - 1)));
}

void PacketRows::replace(PacketList packets)
{
    dropRows();
    if (!m_packets->empty())
        m_forgotten.push_back(m_packets);
    m_packets = std::make_shared<PacketList>(std::move(packets));
    rebuild();
}

void PacketRows::dropRows()
{
    if (m_table.topLevelItemCount() > kRowsAtOnce)
        m_table.retireRows();
    else
        m_table.removeRows();
}

void PacketRows::rebuild()
{
    dropRows();
    const std::size_t first = m_packets->size() - std::min(m_packets->size(), kPacketsAtOnce);
    QList<QTreeWidgetItem*> rows;
    for (std::size_t number = first; number < m_packets->size(); ++number) {
        const UsbIPPacketInfo& packet = (*m_packets)[number];
        if (m_filter(packet))
            rows.append(new PacketItem(packet, static_cast<std::uint32_t>(number)));
    }
    m_table.appendRows(rows);
    m_withoutRows = first;
    m_slices.start(0);
}

void PacketRows::workSlice()
{
    const QDeadlineTimer end(kSliceTime, Qt::PreciseTimer);
    while (workOnce()) {
        if (end.hasExpired())
            return m_slices.setInterval(0);
    }
    if (m_forgotten.empty())
        m_slices.stop();
    else
        m_slices.setInterval(kKeptInterval);
}

/// One batch of what is to be done; false when nothing is.
bool PacketRows::workOnce()
{
    if (m_table.retiredRows() > 0)
        m_table.deleteRetiredRows(kBatch);
    else if (freeForgotten())
        return true;
    else if (m_withoutRows > 0)
        for (int count = 0; count < kBatch && m_withoutRows > 0; ++count)
            addOlderRow();
    else
        return false;
    return true;
}

/// A batch of a list that nobody else keeps; false when there is none.
bool PacketRows::freeForgotten()
{
    const auto found = std::find_if(m_forgotten.begin(), m_forgotten.end(),
                                    [](const SharedList& list) { return list.use_count() == 1; });
    if (found == m_forgotten.end())
        return false;
    PacketList& list = **found;
    for (int count = 0; count < kBatch && !list.empty(); ++count)
        list.pop_back();
    if (list.empty())
        m_forgotten.erase(found);
    return true;
}

void PacketRows::freeInSlices(std::unique_ptr<PacketRows> rows, std::vector<PacketList> others)
{
    PacketRows* freed = rows.release();
    PacketTable* table = &freed->m_table;
    table->hide();
    table->setParent(nullptr);
    for (PacketList& list : others)
        freed->m_forgotten.push_back(std::make_shared<PacketList>(std::move(list)));
    freed->replace({});
    const auto end = [freed, table] {
        freed->m_slices.stop();
        table->deleteLater();
        freed->deleteLater();
    };
    connect(&freed->m_slices, &QTimer::timeout, freed, [freed, end] {
        if (!freed->isBusy())
            end();
    });
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, freed, end);
}

// Rows come in front of all others one at a time: the list that the tree keeps them in has room to grow there, whereas
// several rows at once would each move those that came before them.
void PacketRows::addOlderRow()
{
    const UsbIPPacketInfo& packet = (*m_packets)[--m_withoutRows];
    if (m_filter(packet))
        m_table.prependRow(new PacketItem(packet, static_cast<std::uint32_t>(m_withoutRows)));
}

PacketItem* PacketRows::rowOf(std::size_t number)
{
    if (number < m_withoutRows) {
        m_table.deleteRetiredRows(std::numeric_limits<int>::max());
        while (m_withoutRows > 0)
            addOlderRow();
    }
    return m_table.rowOf(static_cast<std::uint32_t>(number));
}
