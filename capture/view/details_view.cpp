#include "capture/view/details_view.h"

#include "capture/decode/packet_details.h"

#include <QHeaderView>
#include <QStyledItemDelegate>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

/// Gives a value as many lines as it takes in its column.
class WrappingDelegate final : public QStyledItemDelegate
{
public:
    explicit WrappingDelegate(QTreeWidget* tree) : QStyledItemDelegate(tree), m_tree(tree) {}

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const QSize oneLine = QStyledItemDelegate::sizeHint(option, index);
        const int margin = 2 * (m_tree->style()->pixelMetric(QStyle::PM_FocusFrameHMargin) + 1);
        const QRect room(0, 0, m_tree->columnWidth(index.column()) - margin - 4, 1 << 20);
        const QString text = index.data().toString();
        const int wrapped = option.fontMetrics.boundingRect(room, Qt::TextWordWrap, text).height();
        return {oneLine.width(), oneLine.height() + std::max(0, wrapped - option.fontMetrics.height())};
    }

private:
    QTreeWidget* m_tree;
};

QTreeWidgetItem* itemOf(const DetailRow& row)
{
    auto* item = new QTreeWidgetItem({row.name, row.value});
    for (const DetailRow& child : row.children)
        item->addChild(itemOf(child));
    return item;
}

void markAsGroup(QTreeWidgetItem* item, const QPalette& palette)
{
    QFont bold = item->font(0);
    bold.setBold(true);
    item->setFont(0, bold);
    for (int column = 0; column < 2; ++column)
        item->setBackground(column, palette.button());
}

} // namespace

DetailsView::DetailsView(QWidget* parent) : QWidget(parent), m_tree(new QTreeWidget(this))
{
    m_tree->setHeaderLabels({tr("Field"), tr("Value")});
    m_tree->setWordWrap(true);
    m_tree->setItemDelegateForColumn(1, new WrappingDelegate(m_tree));
    m_tree->setVerticalScrollMode(QTreeWidget::ScrollPerPixel);
    connect(
        m_tree->header(), &QHeaderView::sectionResized, m_tree, [this] { m_tree->doItemsLayout(); },
        Qt::QueuedConnection);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_tree);
}

void DetailsView::showPacket(const UsbIPPacketInfo& packet)
{
    m_tree->clear();
    for (const DetailRow& row : packetDetails(packet).children) {
        QTreeWidgetItem* item = itemOf(row);
        m_tree->addTopLevelItem(item);
        if (item->childCount() > 0)
            markAsGroup(item, palette());
    }
    m_tree->expandAll();
    m_tree->resizeColumnToContents(0);
    m_tree->setColumnWidth(0, std::max(m_tree->columnWidth(0), fontMetrics().horizontalAdvance(QLatin1Char('x')) * 28));
}

void DetailsView::showNothing()
{
    m_tree->clear();
    m_tree->addTopLevelItem(itemOf({tr("Error"), tr("No packet data available"), {}}));
}
