// details_view.h: everything that is known of one packet.
#pragma once

#include "capture/channel/capture_types.h"

#include <QWidget>

class QTreeWidget;

/// A tree of the packet's fields. Takes another packet at any time; the widths that the user gave its columns stay.
class DetailsView : public QWidget
{
    Q_OBJECT

public:
    explicit DetailsView(QWidget* parent = nullptr);

    void showPacket(const UsbIPPacketInfo& packet);
    /// What is shown for a row that carries no packet.
    void showNothing();

    QTreeWidget* tree() const { return m_tree; }

private:
    QTreeWidget* m_tree;
};
