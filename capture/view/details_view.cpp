#include "capture/view/details_view.h"

#include "capture/decode/packet_details.h"

#include <QHeaderView>
#include <QSplitter>
#include <QStyledItemDelegate>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
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

constexpr int kBytesRole = Qt::UserRole; // of column 0: the field's ByteSpan

ByteSpan bytesOf(const QTreeWidgetItem* item)
{
    return item ? item->data(0, kBytesRole).value<ByteSpan>() : ByteSpan();
}

QTreeWidgetItem* itemOf(const DetailRow& row)
{
    auto* item = new QTreeWidgetItem({row.name, row.value});
    item->setData(0, kBytesRole, QVariant::fromValue(row.bytes));
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

DetailsView::DetailsView(QWidget* parent)
    : QWidget(parent)
    , m_tree(new QTreeWidget)
    , m_bytes(new BytesView)
    , m_splitter(new QSplitter(Qt::Vertical, this))
{
    m_tree->setHeaderLabels({tr("Field"), tr("Value")});
    m_tree->setWordWrap(true);
    m_tree->setItemDelegateForColumn(1, new WrappingDelegate(m_tree));
    m_tree->setVerticalScrollMode(QTreeWidget::ScrollPerPixel);
    connect(
        m_tree->header(), &QHeaderView::sectionResized, m_tree, [this] { m_tree->doItemsLayout(); },
        Qt::QueuedConnection);
    m_splitter->addWidget(m_tree);
    m_splitter->addWidget(m_bytes);
    m_splitter->setChildrenCollapsible(false);
    m_splitter->setStretchFactor(0, 1);
    connect(m_tree, &QTreeWidget::currentItemChanged, this, &DetailsView::markField);
    connect(m_bytes, &BytesView::byteClicked, this, &DetailsView::selectFieldOf);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_splitter);
}

void DetailsView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    const Qt::Orientation wanted = width() > 2 * height() ? Qt::Horizontal : Qt::Vertical;
    if (m_splitter->orientation() == wanted)
        return;
    m_splitter->setOrientation(wanted);
    const int bytes = wanted == Qt::Horizontal ? m_bytes->sizeHint().width() : m_bytes->sizeHint().height();
    const int whole = wanted == Qt::Horizontal ? width() : height();
    m_splitter->setSizes({std::max(whole - bytes, whole / 3), std::min(bytes, whole - whole / 3)});
}

void DetailsView::markField(const QTreeWidgetItem* item)
{
    m_bytes->mark(bytesOf(item));
}

/// The smallest field that has the byte; of equal ones the last, which says most.
void DetailsView::selectFieldOf(const ByteSpan& byte)
{
    QTreeWidgetItem* best = nullptr;
    for (QTreeWidgetItemIterator item(m_tree); *item; ++item) {
        const ByteSpan bytes = bytesOf(*item);
        if (bytes.contains(byte.part, byte.offset) && (!best || bytes.size <= bytesOf(best).size))
            best = *item;
    }
    if (!best)
        return m_bytes->mark(byte);
    m_tree->setCurrentItem(best);
    m_tree->scrollToItem(best);
    markField(best); // also when it was selected before
}

void DetailsView::showPacket(const UsbIPPacketInfo& packet, const PacketContext& context)
{
    m_tree->clear();
    m_bytes->showPacket(packet);
    for (const DetailRow& row : packetDetails(packet, context).children) {
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
    m_bytes->showNothing();
    m_tree->addTopLevelItem(itemOf({tr("Error"), tr("No packet data available"), {}}));
}
