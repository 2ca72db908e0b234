// packet_details_dialog.h: shows everything that is known of one packet.
#pragma once

#include "capture/capture_types.h"

#include <QDialog>

class QTreeWidget;

/// Not modal. Takes another packet at any time; the size that the user gave the window and its columns stays.
class PacketDetailsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit PacketDetailsDialog(QWidget* parent = nullptr);

    void showPacket(const UsbIPPacketInfo& packet);
    /// What is shown for a row that carries no packet.
    void showNothing();

    QTreeWidget* tree() const { return m_tree; }

private:
    QTreeWidget* m_tree;
};
