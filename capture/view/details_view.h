// details_view.h: everything that is known of one packet.
#pragma once

#include "capture/decode/seen_devices.h"
#include "capture/view/bytes_view.h"

#include <QWidget>

class QSplitter;
class QTreeWidget;
class QTreeWidgetItem;

/// A tree of the packet's fields and the bytes that they were read from, beside each other where there is more width
/// than height. The field that is selected is marked in the bytes, and a byte that is clicked selects its field. Takes
/// another packet at any time.
class DetailsView : public QWidget
{
    Q_OBJECT

public:
    explicit DetailsView(QWidget* parent = nullptr);

    /// `context`: what others say of the packet.
    void showPacket(const UsbIPPacketInfo& packet, const PacketContext& context = {});
    /// What is shown for a row that carries no packet.
    void showNothing();

    QTreeWidget* tree() const { return m_tree; }
    BytesView* bytes() const { return m_bytes; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void markField(const QTreeWidgetItem* item);
    void selectFieldOf(const ByteSpan& byte);

    QTreeWidget* m_tree;
    BytesView* m_bytes;
    QSplitter* m_splitter;
};
