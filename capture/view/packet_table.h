// packet_table.h: a tree widget that shows a flat list of very many packets.
#pragma once

#include "capture/channel/packet_store.h"
#include "capture/decode/seen_devices.h"
#include "capture/view/packet_item.h"

#include <QBasicTimer>
#include <QTreeWidget>

#include <optional>

/// Rows have one height and no children, so positions are computed instead of being laid out row by row: a row that is
/// added costs the same with a million rows as with none. An added row is in the tree at once; scroll range, scrolling
/// to the newest row and painting follow together once per turn of the event loop. Holds PacketItem rows only.
class PacketTable final : public QTreeWidget
{
    Q_OBJECT

public:
    explicit PacketTable(QWidget* parent = nullptr);

    /// Rows that come from now on stand for packets of this store. The rows of another one are gone or retired.
    void setStore(std::shared_ptr<const PacketStore> store, std::size_t first = 0)
    {
        m_reader = PacketReader(store);
        m_seen = SeenDevices(std::move(store), first);
        m_first = first;
    }
    /// What the column shows of the packet at this position.
    QString textAt(std::size_t number, int column) const;
    /// Valid until the next call of anything here. `number` is below the size of the store.
    PacketView packetAt(std::size_t number) const { return m_reader.read(number); }
    /// What other packets say of the one at this position.
    PacketContext contextOf(std::size_t number) const { return m_seen.contextOf(number); }

    /// All take rows over, at a cost that does not grow with the rows that there are. What is on the screen stays there
    /// when rows come in above it.
    void appendRow(PacketItem* row);
    void appendRows(const QList<QTreeWidgetItem*>& rows);
    void prependRow(PacketItem* row);
    /// Deletes all rows and ends the highlighting.
    void removeRows();
    /// As removeRows() for the user, at once however many rows there are: they stay in the tree, ahead of rows to come
    /// and out of sight and reach, until deleteRetiredRows() has had them all. Only then can rows be prepended.
    void retireRows();
    void deleteRetiredRows(int limit);
    int retiredRows() const { return m_retired; }
    /// The row of the packet with this number; null when there is none. Rows are in the order of their numbers.
    PacketItem* rowOf(std::uint32_t number) const;
    /// Shows the last row once the event loop turns.
    void scrollToNewest();

    /// Paints the rows of packets with this sequence number whose position in the store is below `count`.
    void setHighlight(std::uint32_t sequenceNumber, std::uint32_t count);
    /// Whether the row of the packet at this position is painted so.
    bool highlights(std::uint32_t number) const;

    QRect visualRect(const QModelIndex& index) const override;
    QModelIndex indexAt(const QPoint& point) const override;
    void scrollTo(const QModelIndex& index, ScrollHint hint = EnsureVisible) override;
    void doItemsLayout() override;
    void keyboardSearch(const QString& search) override;

protected:
    void rowsInserted(const QModelIndex& parent, int start, int end) override;
    void updateGeometries() override;
    void scrollContentsBy(int dx, int dy) override;
    int horizontalOffset() const override;
    int verticalOffset() const override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command) override;
    QRegion visualRegionForSelection(const QItemSelection& selection) const override;
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    int sizeHintForColumn(int column) const override;

private:
    struct Highlight
    {
        std::uint32_t sequenceNumber;
        std::uint32_t count;
    };

    int fullRows() const { return viewport()->height() / m_rowHeight; }
    int firstRow() const;
    PacketItem* rowAt(int row) const;
    void layOutLater();
    void layOut();
    void placeHeader();
    void measureRows();
    void paintRow(QPainter& painter, QStyleOptionViewItem option, int row) const;

    mutable PacketReader m_reader{std::make_shared<const PacketStore>()};
    mutable SeenDevices m_seen{std::make_shared<const PacketStore>()};
    std::size_t m_first = 0; // of the packets that are looked at
    std::optional<Highlight> m_highlight;
    QBasicTimer m_layout;
    int m_rowHeight = 1; // px
    bool m_scrollPending = false;
    int m_retired = 0;   // rows at the front that are out of sight
    int m_rowsAbove = 0; // came in above the screen since the last layout
    bool m_updatingGeometries = false;
};
