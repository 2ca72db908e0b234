#include "capture/view/packet_table.h"

#include "capture/decode/packet_columns.h"
#include "capture/decode/packet_meaning.h"
#include "capture/decode/timing_columns.h"
#include "ui/fixed_font.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTimerEvent>

#include <algorithm>

namespace {

constexpr int kRowPadding = 6; // px, above and below the text together
constexpr int kFrameWidth = 2; // px, of the selected row's frame

} // namespace

PacketTable::PacketTable(QWidget* parent) : QTreeWidget(parent)
{
    setRootIsDecorated(false);
    setUniformRowHeights(true);
    setAlternatingRowColors(true);
    setSelectionMode(SingleSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setVerticalScrollMode(ScrollPerItem);
    measureRows();
}

void PacketTable::appendRow(PacketItem* row)
{
    addTopLevelItems({row}); // unlike addTopLevelItem, reserves no memory for the values of columns
}

void PacketTable::prependRow(PacketItem* row)
{
    if (topLevelItemCount() > 0)
        ++m_rowsAbove;
    insertTopLevelItems(0, {row});
}

void PacketTable::appendRows(const QList<QTreeWidgetItem*>& rows)
{
    addTopLevelItems(rows);
}

void PacketTable::removeRows()
{
    m_highlight.reset();
    m_rowsAbove = 0;
    m_retired = 0;
    clear();
}

void PacketTable::retireRows()
{
    m_highlight.reset();
    m_rowsAbove = 0;
    m_retired = topLevelItemCount();
    setCurrentItem(nullptr);
    verticalScrollBar()->setValue(0);
    layOutLater();
}

void PacketTable::deleteRetiredRows(int limit)
{
    constexpr int kBatch = 256; // rows; taking one out of the model's list moves all rows of its batch before it
    for (int left = std::min(limit, m_retired); left > 0; left -= kBatch) {
        const int count = std::min(left, kBatch);
        model()->removeRows(0, count);
        m_retired -= count;
    }
}

PacketItem* PacketTable::rowAt(int row) const
{
    return static_cast<PacketItem*>(topLevelItem(row));
}

PacketItem* PacketTable::rowOf(std::uint32_t number) const
{
    int first = m_retired;
    int last = topLevelItemCount() - 1;
    while (first < last) {
        const int middle = first + (last - first) / 2;
        if (rowAt(middle)->number() < number)
            first = middle + 1;
        else
            last = middle;
    }
    PacketItem* row = rowAt(first);
    return row && row->number() == number ? row : nullptr;
}

void PacketTable::scrollToNewest()
{
    m_scrollPending = true;
    layOutLater();
}

void PacketTable::setHighlight(std::uint32_t sequenceNumber, std::uint32_t count)
{
    m_highlight = Highlight{sequenceNumber, count};
    viewport()->update();
}

bool PacketTable::highlights(std::uint32_t number) const
{
    return m_highlight && number < m_highlight->count && packetAt(number).sequenceNumber == m_highlight->sequenceNumber;
}

QString PacketTable::textAt(std::size_t number, int column) const
{
    if (column < PacketColumnCount)
        return packetColumnText(packetAt(number).borrow(), column);
    const auto analysis = static_cast<AnalysisColumn>(column - PacketColumnCount);
    if (analysis == AnalysisColumn::Meaning)
        return meaningText(packetAt(number), m_seen);
    return analysisColumnText(m_reader, m_first, number, analysis);
}

int PacketTable::firstRow() const
{
    return m_retired + verticalScrollBar()->value();
}

QRect PacketTable::visualRect(const QModelIndex& index) const
{
    if (!index.isValid() || isColumnHidden(index.column()))
        return {};
    return {header()->sectionViewportPosition(index.column()), (index.row() - firstRow()) * m_rowHeight,
            header()->sectionSize(index.column()), m_rowHeight};
}

QModelIndex PacketTable::indexAt(const QPoint& point) const
{
    const int column = header()->logicalIndexAt(point.x());
    if (point.y() < 0 || column < 0)
        return {};
    return model()->index(firstRow() + point.y() / m_rowHeight, column);
}

void PacketTable::scrollTo(const QModelIndex& index, ScrollHint hint)
{
    if (!index.isValid())
        return;
    layOut(); // the range must include the row
    const int page = std::max(fullRows(), 1);
    const int row = index.row();
    int first = firstRow();
    if (hint == PositionAtTop || (hint == EnsureVisible && row < first))
        first = row;
    else if (hint == PositionAtBottom || (hint == EnsureVisible && row >= first + page))
        first = row - page + 1;
    else if (hint == PositionAtCenter)
        first = row - page / 2;
    verticalScrollBar()->setValue(first - m_retired);
}

void PacketTable::doItemsLayout()
{
    QAbstractItemView::doItemsLayout();
}

void PacketTable::keyboardSearch(const QString&)
{}

void PacketTable::rowsInserted(const QModelIndex&, int, int)
{
    layOutLater();
}

void PacketTable::layOutLater()
{
    if (!m_layout.isActive())
        m_layout.start(0, this);
}

void PacketTable::layOut()
{
    m_layout.stop();
    updateGeometries();
    verticalScrollBar()->setValue(m_scrollPending ? verticalScrollBar()->maximum()
                                                  : verticalScrollBar()->value() + m_rowsAbove);
    m_rowsAbove = 0;
    m_scrollPending = false;
    viewport()->update();
}

void PacketTable::timerEvent(QTimerEvent* event)
{
    if (event->timerId() == m_layout.timerId())
        layOut();
    else
        QTreeWidget::timerEvent(event);
}

void PacketTable::placeHeader()
{
    const int height = std::clamp(header()->sizeHint().height(), header()->minimumHeight(), header()->maximumHeight());
    setViewportMargins(0, height, 0, 0);
    const QRect area = viewport()->geometry();
    header()->setGeometry(area.left(), area.top() - height, area.width(), height);
    QMetaObject::invokeMethod(header(), "updateGeometries");
}

void PacketTable::updateGeometries()
{
    if (m_updatingGeometries)
        return;
    const QScopedValueRollback<bool> guard(m_updatingGeometries, true);
    placeHeader();
    const int page = fullRows();
    verticalScrollBar()->setSingleStep(1);
    verticalScrollBar()->setPageStep(page);
    verticalScrollBar()->setRange(0, std::max(0, topLevelItemCount() - m_retired - page));
    horizontalScrollBar()->setSingleStep(fontMetrics().averageCharWidth() * 4);
    horizontalScrollBar()->setPageStep(viewport()->width());
    horizontalScrollBar()->setRange(0, std::max(0, header()->length() - viewport()->width()));
    QAbstractItemView::updateGeometries();
}

void PacketTable::scrollContentsBy(int dx, int)
{
    if (dx != 0)
        header()->setOffset(horizontalScrollBar()->value());
    viewport()->update();
}

int PacketTable::horizontalOffset() const
{
    return header()->offset();
}

int PacketTable::verticalOffset() const
{
    return verticalScrollBar()->value() * m_rowHeight;
}

QModelIndex PacketTable::moveCursor(CursorAction action, Qt::KeyboardModifiers)
{
    const int top = m_retired;
    const int last = topLevelItemCount() - 1;
    if (last < top)
        return {};
    const QModelIndex current = currentIndex();
    const int column = std::max(current.column(), 0);
    const int page = std::max(fullRows(), 1);
    int row = current.isValid() ? current.row() : top - 1;
    switch (action) {
    case MoveUp:
    case MovePrevious:
        row = std::max(row - 1, top);
        break;
    case MoveDown:
    case MoveNext:
        row = std::min(row + 1, last);
        break;
    case MovePageUp:
        row = std::max(row - page, top);
        break;
    case MovePageDown:
        row = std::min(row + page, last);
        break;
    case MoveHome:
        row = top;
        break;
    case MoveEnd:
        row = last;
        break;
    case MoveLeft:
        horizontalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepSub);
        break;
    case MoveRight:
        horizontalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepAdd);
        break;
    }
    return model()->index(std::max(row, top), column);
}

void PacketTable::setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command)
{
    const QModelIndex from = indexAt(rect.topLeft());
    const QModelIndex to = indexAt(rect.bottomRight());
    selectionModel()->select(from.isValid() && to.isValid() ? QItemSelection(from, to) : QItemSelection(), command);
}

QRegion PacketTable::visualRegionForSelection(const QItemSelection&) const
{
    return viewport()->rect(); // one selected row at most: painting the few visible rows again is cheap
}

void PacketTable::paintEvent(QPaintEvent* event)
{
    QPainter painter(viewport());
    QStyleOptionViewItem option = viewOptions();
    option.showDecorationSelected = true;
    option.state.setFlag(QStyle::State_Active, isActiveWindow());
    const QRect dirty = event->rect();
    const int last = std::min(firstRow() + dirty.bottom() / m_rowHeight, topLevelItemCount() - 1);
    for (int row = firstRow() + dirty.top() / m_rowHeight; row <= last; ++row)
        paintRow(painter, option, row);
}

void PacketTable::paintRow(QPainter& painter, QStyleOptionViewItem option, int row) const
{
    const int y = (row - firstRow()) * m_rowHeight;
    const QModelIndex first = model()->index(row, 0);
    const PacketItem* packetRow = rowAt(row);
    const bool selected = selectionModel()->isSelected(first);
    const bool highlighted = highlights(packetRow->number());
    option.state.setFlag(QStyle::State_Selected, selected && !highlighted);
    option.features.setFlag(QStyleOptionViewItem::Alternate, row % 2 != 0);
    option.rect = QRect(0, y, viewport()->width(), m_rowHeight);
    style()->drawPrimitive(QStyle::PE_PanelItemViewRow, &option, &painter, this);
    for (int visual = 0; visual < header()->count(); ++visual) {
        const QModelIndex index = model()->index(row, header()->logicalIndex(visual));
        option.rect = visualRect(index);
        if (option.rect.right() >= 0 && option.rect.left() < viewport()->width())
            itemDelegate()->paint(&painter, option, index);
    }
    if (selected && highlighted) { // a frame: what request and reply have in common stays visible inside
        painter.setPen(QPen(palette().highlight(), kFrameWidth));
        painter.drawRect(kFrameWidth / 2, y + kFrameWidth / 2, viewport()->width() - kFrameWidth,
                         m_rowHeight - kFrameWidth);
    }
}

void PacketTable::keyPressEvent(QKeyEvent* event)
{
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && currentItem()) {
        emit itemClicked(currentItem(), currentColumn());
        return;
    }
    QAbstractItemView::keyPressEvent(event);
}

// The tree view's own handling concerns branches only, which a flat list does not have.
void PacketTable::mousePressEvent(QMouseEvent* event)
{
    QAbstractItemView::mousePressEvent(event);
}

void PacketTable::mouseReleaseEvent(QMouseEvent* event)
{
    QAbstractItemView::mouseReleaseEvent(event);
}

void PacketTable::mouseDoubleClickEvent(QMouseEvent* event)
{
    QAbstractItemView::mouseDoubleClickEvent(event);
}

void PacketTable::changeEvent(QEvent* event)
{
    QTreeWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        measureRows();
        layOutLater();
    }
}

void PacketTable::measureRows()
{
    const QFontMetrics fixed(fixedFont());
    m_rowHeight = std::max(fontMetrics().height(), fixed.height()) + kRowPadding;
}

int PacketTable::sizeHintForColumn(int column) const
{
    int width = 0;
    const int last = std::min(firstRow() + fullRows(), topLevelItemCount() - 1);
    for (int row = firstRow(); row <= last; ++row)
        width = std::max(width, itemDelegate()->sizeHint(viewOptions(), model()->index(row, column)).width());
    return width;
}
