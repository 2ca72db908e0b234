#include "capture/packet_details_dialog.h"

#include "capture/packet_details.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

QTreeWidgetItem* itemOf(const DetailRow& row)
{
    auto* item = new QTreeWidgetItem({row.name, row.value});
    item->setToolTip(1, row.value.size() > 60 ? row.value : QString());
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
        item->setBackground(column, palette.midlight());
}

} // namespace

PacketDetailsDialog::PacketDetailsDialog(QWidget* parent) : QDialog(parent), m_tree(new QTreeWidget(this))
{
    setWindowTitle(tr("USBIP Packet Details"));
    m_tree->setHeaderLabels({tr("Field"), tr("Value")});
    m_tree->setWordWrap(true);
    m_tree->header()->resizeSection(0, fontMetrics().averageCharWidth() * 34);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tree);
    layout->addWidget(buttons);
    resize(680, 560);
}

void PacketDetailsDialog::showPacket(const UsbIPPacketInfo& packet)
{
    m_tree->clear();
    for (const DetailRow& row : packetDetails(packet).children) {
        QTreeWidgetItem* item = itemOf(row);
        m_tree->addTopLevelItem(item);
        if (item->childCount() > 0)
            markAsGroup(item, palette());
    }
    m_tree->expandAll();
}

void PacketDetailsDialog::showNothing()
{
    m_tree->clear();
    m_tree->addTopLevelItem(itemOf({QStringLiteral("Error"), QStringLiteral("No packet data available"), {}}));
}
