#include "capture/view/packet_rows.h"

#include "capture/view/packet_table.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

#include <algorithm>
#include <limits>

namespace {

constexpr std::size_t kPacketsAtOnce = 50'000; // whose rows are there when a call returns
constexpr std::size_t kSlowPacketsAtOnce = 2'000;
constexpr int kRowsAtOnce = 50'000; // that are deleted before a call returns
constexpr int kSliceTime = 8;       // ms
constexpr int kBatch = 256;         // rows or packets between two looks at the clock
constexpr int kSlowBatch = 16;

} // namespace

PacketRows::PacketRows(PacketTable& table, Filter filter) : m_table(table), m_filter(std::move(filter))
{
    m_table.setStore(m_store);
    connect(&m_slices, &QTimer::timeout, this, &PacketRows::workSlice);
}

void PacketRows::addNext()
{
    const std::size_t number = m_end++;
    if (m_filter(m_reader.read(number)))
        m_table.appendRow(new PacketItem(static_cast<std::uint32_t>(number)));
    if (number % kBatch == 0)
        tellMemory();
}

/// Rows are part of what a capture takes, so packets go to the file earlier.
void PacketRows::tellMemory()
{
    constexpr qint64 kRowSize = sizeof(PacketItem) + 72; // bytes, with its private part and its place in lists
    m_store->setMemoryBeside(m_table.topLevelItemCount() * kRowSize);
}

void PacketRows::show(std::shared_ptr<PacketStore> store, std::size_t first)
{
    dropRows();
    m_store->setMemoryBeside(0);
    m_store = std::move(store);
    m_reader = PacketReader(m_store);
    m_table.setStore(m_store, first);
    m_first = first;
    m_end = m_store->size();
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
    m_withoutRows = m_end - std::min(m_end - m_first, m_filterIsSlow ? kSlowPacketsAtOnce : kPacketsAtOnce);
    QList<QTreeWidgetItem*> rows;
    for (std::size_t number = m_withoutRows; number < m_end; ++number) {
        if (m_filter(m_reader.read(number)))
            rows.append(new PacketItem(static_cast<std::uint32_t>(number)));
    }
    m_table.appendRows(rows);
    tellMemory();
    m_slices.start(0);
}

void PacketRows::workSlice()
{
    const QDeadlineTimer end(kSliceTime, Qt::PreciseTimer);
    while (workOnce()) {
        if (end.hasExpired())
            return tellMemory();
    }
    tellMemory();
    m_slices.stop();
    emit completed();
}

/// One batch of what is to be done; false when nothing is.
bool PacketRows::workOnce()
{
    if (m_table.retiredRows() > 0)
        m_table.deleteRetiredRows(kBatch);
    else if (m_withoutRows > m_first)
        for (int count = 0; count < (m_filterIsSlow ? kSlowBatch : kBatch) && m_withoutRows > m_first; ++count)
            addOlderRow();
    else
        return false;
    return true;
}

void PacketRows::freeInSlices(std::unique_ptr<PacketRows> rows)
{
    PacketRows* freed = rows.release();
    PacketTable* table = &freed->m_table;
    table->hide();
    table->setParent(nullptr);
    freed->show(std::make_shared<PacketStore>(), 0);
    const auto end = [freed, table] {
        freed->m_slices.stop();
        table->deleteLater();
        freed->deleteLater();
    };
    connect(freed, &PacketRows::completed, freed, end);
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, freed, end);
}

// Rows come in front of all others one at a time: the list that the tree keeps them in has room to grow there, whereas
// several rows at once would each move those that came before them.
void PacketRows::addOlderRow()
{
    if (m_filter(m_reader.read(--m_withoutRows)))
        m_table.prependRow(new PacketItem(static_cast<std::uint32_t>(m_withoutRows)));
}

PacketItem* PacketRows::rowOf(std::size_t number)
{
    if (number < m_withoutRows) {
        m_table.deleteRetiredRows(std::numeric_limits<int>::max());
        while (m_withoutRows > m_first)
            addOlderRow();
    }
    return m_table.rowOf(static_cast<std::uint32_t>(number));
}
