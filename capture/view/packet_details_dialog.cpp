#include "capture/view/packet_details_dialog.h"

#include "capture/view/details_view.h"

#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

PacketDetailsDialog::PacketDetailsDialog(QWidget* parent) : QDialog(parent), m_view(new DetailsView(this))
{
    setWindowTitle(tr("USBIP Packet Details"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_view);
    layout->addWidget(buttons);
    resize(880, 600);
}

void PacketDetailsDialog::standBeside(const QWidget& table)
{
    const QRect taken = table.window()->frameGeometry();
    const QRect screen = table.window()->screen()->availableGeometry();
    const QSize size = frameGeometry().size();
    const int right = screen.right() - taken.right();
    const int left = taken.left() - screen.left();
    QPoint place(taken.right() + 1, taken.top());
    if (right < size.width() && left >= size.width())
        place.setX(taken.left() - size.width());
    else if (right < size.width()) // no room on either side: over the columns that are seen in the details too
        place = QPoint(screen.right() - size.width() + 1, screen.bottom() - size.height() + 1);
    move(std::max(place.x(), screen.left()),
         std::clamp(place.y(), screen.top(), std::max(screen.top(), screen.bottom() - size.height() + 1)));
}
