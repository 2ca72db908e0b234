// packet_item.h: a row of the packet table whose texts are computed when they are asked for.
#pragma once

#include "capture/channel/capture_types.h"

#include <QTreeWidgetItem>

/// Stands for a packet of the store that its table shows, and is empty outside a table. Column 0 carries the packet
/// under Qt::UserRole. The background depends on what the table highlights at the moment, so a change of that touches
/// no rows.
class PacketItem final : public QTreeWidgetItem
{
public:
    /// `number`: position of the packet in the store.
    explicit PacketItem(std::uint32_t number);

    QVariant data(int column, int role) const override;

    std::uint32_t number() const { return m_number; }
    UsbIPPacketInfo packet() const;

    // Rows lie side by side: filtering walks over all of them several times.
    static void* operator new(std::size_t size);
    static void operator delete(void* memory);

private:
    std::uint32_t m_number;
};
