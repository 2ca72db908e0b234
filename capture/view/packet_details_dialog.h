// packet_details_dialog.h: shows everything that is known of one packet in a window of its own.
#pragma once

#include <QDialog>

class DetailsView;

/// Not modal; the size that the user gave the window stays.
class PacketDetailsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit PacketDetailsDialog(QWidget* parent = nullptr);

    DetailsView& view() { return *m_view; }
    /// Moves to the side of the table's window that has most room, no larger than it; into a corner of the screen when
    /// none has enough.
    void standBeside(const QWidget& table);

private:
    DetailsView* m_view;
};
