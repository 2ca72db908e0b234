#include "app/device_table.h"

#include "app/device_rows.h"
#include "runtime/shown_text.h"
#include "ui/plain_tool_tip.h"

#include <QHeaderView>
#include <QHelpEvent>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QToolTip>

#include <algorithm>

namespace {

constexpr int kLongestText = 1000;           // a record may hold a million letters, which would take seconds to paint
constexpr int kValueRole = Qt::UserRole;     // of a cell that shows another text than was given: the given one
constexpr int kEndedRole = Qt::UserRole + 1; // of a row's first cell

QString textOf(const QTableWidgetItem* cell)
{
    if (!cell)
        return {};
    const QVariant value = cell->data(kValueRole);
    return value.isValid() ? value.toString() : cell->text();
}

/// Rows of devices that have ended look like what is switched off, in whatever style, but can be selected.
class RowDelegate final : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        if (!index.siblingAtColumn(0).data(kEndedRole).toBool())
            return;
        option->state &= ~QStyle::State_Enabled;
        // Styles dim texts so far that they are hard to read, and not at all on the colour of a selection.
        QPalette& palette = option->palette;
        palette.setColor(QPalette::Disabled, QPalette::Text,
                         between(palette.color(QPalette::Base), palette.color(QPalette::Text)));
        palette.setColor(QPalette::Disabled, QPalette::HighlightedText,
                         between(palette.color(QPalette::Highlight), palette.color(QPalette::HighlightedText)));
    }

private:
    static QColor between(const QColor& back, const QColor& front)
    {
        constexpr qreal kFront = 0.55;
        const auto mix = [](qreal one, qreal other) { return one + (other - one) * kFront; };
        return QColor::fromRgbF(mix(back.redF(), front.redF()), mix(back.greenF(), front.greenF()),
                                mix(back.blueF(), front.blueF()));
    }
};

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
    setItemDelegate(new RowDelegate(this));
    const auto changedFrom = [this](int row) { m_filledRows = std::min(m_filledRows, row); };
    connect(model(), &QAbstractItemModel::dataChanged, this,
            [changedFrom](const QModelIndex& topLeft) { changedFrom(topLeft.row()); });
    connect(model(), &QAbstractItemModel::rowsRemoved, this,
            [changedFrom](const QModelIndex&, int first) { changedFrom(first); });
    connect(model(), &QAbstractItemModel::modelReset, this, [changedFrom] { changedFrom(0); });

    constexpr int kHeight = 300;
    constexpr int kRowHeight = 27;
    setFixedHeight(kHeight);
    verticalHeader()->setDefaultSectionSize(std::max(kRowHeight, fontMetrics().height() + 4));
    // The header takes what ten rows leave, so that they fill the table; larger fonts scroll.
    const int left = kHeight - 2 * frameWidth() - kMinimumRows * verticalHeader()->defaultSectionSize();
    if (left >= horizontalHeader()->sizeHint().height())
        horizontalHeader()->setFixedHeight(left);
}

int DeviceTable::addDevice(const QStringList& cells, const QIcon& icon)
{
    const int row = firstFreeRow();
    const int count = std::min(cells.size(), columnCount());
    for (int column = 0; column < count; ++column) {
        const QString value = cells[column].left(kLongestText);
        const QString shown = shownText(column == kTypeColumn ? deviceTypeCaption(value) : value, kLongestText);
        auto* cell = new QTableWidgetItem(shown);
        if (shown != value)
            cell->setData(kValueRole, value);
        cell->setToolTip(shown);
        if (column == 0 && !icon.isNull())
            cell->setIcon(icon);
        setItem(row, column, cell);
    }
    return row;
}

void DeviceTable::setEnded(int row, bool ended)
{
    if (ended == isEnded(row))
        return;
    item(row, 0)->setData(kEndedRole, ended);
    item(row, 0)->setData(Qt::AccessibleDescriptionRole, ended ? tr("ended") : QVariant());
    viewport()->update();
}

bool DeviceTable::isEnded(int row) const
{
    const QTableWidgetItem* first = item(row, 0);
    return first && first->data(kEndedRole).toBool();
}

std::vector<int> DeviceTable::deviceRows() const
{
    std::vector<int> rows;
    for (int row = 0; row < rowCount(); ++row) {
        if (identityAt(row))
            rows.push_back(row);
    }
    return rows;
}

DeviceTable::View DeviceTable::view() const
{
    return {identityAt(selectedRow()), currentColumn(), verticalScrollBar()->value()};
}

void DeviceTable::setView(const View& view)
{
    const std::optional<int> row = view.selected ? rowOf(view.selected->processId) : std::nullopt;
    if (row)
        setCurrentCell(*row, view.column);
    verticalScrollBar()->setValue(view.scrolled);
}

bool DeviceTable::hasProcess(qint64 processId) const
{
    return rowOf(QString::number(processId)).has_value();
}

std::optional<int> DeviceTable::rowOf(const QString& processId) const
{
    for (const int row : deviceRows()) {
        if (identityAt(row)->processId == processId)
            return row;
    }
    return std::nullopt;
}

void DeviceTable::clearDevices()
{
    clearContents();
    setRowCount(kMinimumRows);
    m_filledRows = 0;
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
    const auto isFree = [this](int row) {
        const QTableWidgetItem* first = item(row, 0);
        return !first || first->text().isEmpty();
    };
    while (m_filledRows < rowCount() && !isFree(m_filledRows))
        ++m_filledRows;
    if (m_filledRows == rowCount())
        insertRow(rowCount());
    return m_filledRows;
}
