#include "app/device_table.h"

#include "app/device_rows.h"
#include "ui/plain_tool_tip.h"

#include <QHeaderView>
#include <QHelpEvent>
#include <QToolTip>

#include <algorithm>

namespace {

constexpr int kLongestText = 1000;       // a record may hold a million letters, which would take seconds to paint
constexpr int kValueRole = Qt::UserRole; // of a cell that shows another text than was given: the given one

QString textOf(const QTableWidgetItem* cell)
{
    if (!cell)
        return {};
    const QVariant value = cell->data(kValueRole);
    return value.isValid() ? value.toString() : cell->text();
}

} // namespace

DeviceTable::DeviceTable(QWidget* parent) : QTableWidget(kMinimumRows, kColumns, parent)
{
    setHorizontalHeaderLabels({tr("Name"), tr("PID"), tr("Param1"), tr("Param2"), tr("Param3"), tr("Param4")});
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setShowGrid(true);
    setTabKeyNavigation(false);
    setWordWrap(false); // a long name is cut at its last letter that fits, not at its last word
    horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    horizontalHeader()->setHighlightSections(false);
    verticalHeader()->setHighlightSections(false);
    setContextMenuPolicy(Qt::CustomContextMenu);

    constexpr int kHeight = 300;
    constexpr int kRowHeight = 27;
    setFixedHeight(kHeight);
    verticalHeader()->setDefaultSectionSize(std::max(kRowHeight, fontMetrics().height() + 4));
    // The header takes what ten rows leave, so that they fill the table; larger fonts scroll.
    const int left = kHeight - 2 * frameWidth() - kMinimumRows * verticalHeader()->defaultSectionSize();
    if (left >= horizontalHeader()->sizeHint().height())
        horizontalHeader()->setFixedHeight(left);
}

void DeviceTable::addDevice(const QStringList& cells, const QIcon& icon)
{
    const int row = firstFreeRow();
    const int count = std::min(cells.size(), columnCount());
    for (int column = 0; column < count; ++column) {
        const QString value = cells[column].left(kLongestText);
        const QString shown = column == kTypeColumn ? deviceTypeCaption(value) : value;
        auto* cell = new QTableWidgetItem(shown);
        if (shown != value)
            cell->setData(kValueRole, value);
        cell->setToolTip(shown);
        if (column == 0 && !icon.isNull())
            cell->setIcon(icon);
        setItem(row, column, cell);
    }
}

void DeviceTable::clearDevices()
{
    clearContents();
    setRowCount(kMinimumRows);
}

void DeviceTable::removeDevice(int row)
{
    removeRow(row);
    if (rowCount() < kMinimumRows)
        insertRow(rowCount());
    if (!identityAt(selectedRow()))
        clearSelection(); // it has moved on to an empty row
}

std::optional<DeviceTable::Identity> DeviceTable::identityAt(int row) const
{
    const QTableWidgetItem* name = item(row, kNameColumn);
    const QTableWidgetItem* processId = item(row, kPidColumn);
    if (!name || !processId)
        return std::nullopt;
    return Identity{textOf(name), textOf(processId)};
}

int DeviceTable::selectedRow() const
{
    const QModelIndexList rows = selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

QStringList DeviceTable::cellTexts(int row) const
{
    QStringList texts;
    for (int column = 0; column < columnCount(); ++column) {
        const QTableWidgetItem* cell = item(row, column);
        texts << textOf(cell);
    }
    return texts;
}

bool DeviceTable::viewportEvent(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QTableWidget::viewportEvent(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    showToolTip(itemAt(help->pos()), help->globalPos());
    return true;
}

void DeviceTable::keyPressEvent(QKeyEvent* event)
{
    QTableWidget::keyPressEvent(event);
    const QModelIndex current = currentIndex();
    const QRect place = visualRect(current);
    const QSize needed = sizeHintForIndex(current);
    const bool isCut = needed.width() > place.width() || needed.height() > place.height();
    showToolTip(isCut ? currentItem() : nullptr, viewport()->mapToGlobal(place.bottomLeft()));
}

void DeviceTable::showToolTip(const QTableWidgetItem* cell, const QPoint& place)
{
    QToolTip::showText(place, cell ? plainToolTip(cell->toolTip()) : QString(), viewport());
}

int DeviceTable::firstFreeRow()
{
    for (int row = 0; row < rowCount(); ++row) {
        const QTableWidgetItem* first = item(row, 0);
        if (!first || first->text().isEmpty())
            return row;
    }
    insertRow(rowCount());
    return rowCount() - 1;
}
