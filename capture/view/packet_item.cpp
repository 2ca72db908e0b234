#include "capture/view/packet_item.h"

#include "capture/decode/packet_columns.h"
#include "capture/view/packet_table.h"
#include "capture/view/slot_pool.h"
#include "ui/fixed_font.h"
#include "ui/plain_tool_tip.h"

#include <QBrush>

namespace {

constexpr int kItemType = QTreeWidgetItem::UserType + 1;

QVariant fontOf(int column)
{
    static const QFont s_fixed = fixedFont();
    return column == SetupColumn || column == DataColumn ? QVariant(s_fixed) : QVariant();
}

QVariant toolTipOf(const UsbIPPacketInfo& packet, int column)
{
    return column == DataColumn || column == DetailsColumn ? plainToolTip(packetColumnText(packet, column))
                                                           : QVariant();
}

SlotPool<sizeof(PacketItem)>& pool()
{
    static SlotPool<sizeof(PacketItem)> s_pool;
    return s_pool;
}

} // namespace

void* PacketItem::operator new(std::size_t)
{
    return pool().take();
}

void PacketItem::operator delete(void* memory)
{
    pool().giveBack(memory);
}

PacketItem::PacketItem(std::uint32_t number) : QTreeWidgetItem(kItemType), m_number(number)
{}

UsbIPPacketInfo PacketItem::packet() const
{
    return static_cast<const PacketTable*>(treeWidget())->packetAt(m_number).copy();
}

QVariant PacketItem::data(int column, int role) const
{
    const auto* table = static_cast<const PacketTable*>(treeWidget());
    if (!table)
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return table->textAt(m_number, column);
    case Qt::UserRole:
        return column == 0 ? QVariant::fromValue(packet()) : QVariant();
    case Qt::BackgroundRole:
        return table->highlights(m_number) ? QVariant(QBrush(QColor(255, 255, 200))) : QVariant();
    case Qt::ForegroundRole: // the highlight is light in dark themes too
        return table->highlights(m_number) ? QVariant(QBrush(Qt::black)) : QVariant();
    case Qt::FontRole:
        return fontOf(column);
    case Qt::ToolTipRole:
        return toolTipOf(table->packetAt(m_number).borrow(), column);
    default:
        return {};
    }
}
