#include "capture/view/packet_details_dialog.h"

#include "capture/view/details_view.h"

#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>
#include <array>

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

namespace {

/// Where a window of this size stands best beside `taken`: on the side with the most room for it, made smaller if need
/// be; where there is none, in the corner of the screen.
QRect placeBeside(const QRect& taken, const QRect& screen, const QSize& wanted, const QSize& smallest)
{
    const std::array<QRect, 4> sides{
        QRect(QPoint(taken.right() + 1, screen.top()), screen.bottomRight()),
        QRect(screen.topLeft(), QPoint(taken.left() - 1, screen.bottom())),
        QRect(QPoint(screen.left(), taken.bottom() + 1), screen.bottomRight()),
        QRect(screen.topLeft(), QPoint(screen.right(), taken.top() - 1)),
    };
    const auto areaIn = [&](const QRect& side) {
        const QSize size = wanted.boundedTo(side.size());
        return size == size.expandedTo(smallest) ? size.width() * size.height() : 0;
    };
    const auto* best = std::max_element(sides.begin(), sides.end(),
                                        [&](const QRect& a, const QRect& b) { return areaIn(a) < areaIn(b); });
    const bool fits = areaIn(*best) > 0;
    const QRect room = fits ? *best : screen;
    QRect place(fits ? taken.topLeft() : room.bottomRight(), wanted.boundedTo(room.size()));
    place.moveRight(std::min(place.right(), room.right()));
    place.moveBottom(std::min(place.bottom(), room.bottom()));
    place.moveLeft(std::max(place.left(), room.left()));
    place.moveTop(std::max(place.top(), room.top()));
    return place;
}

} // namespace

void PacketDetailsDialog::standBeside(const QWidget& table)
{
    const QSize frame = frameGeometry().size() - size();
    const QRect place = placeBeside(table.window()->frameGeometry(), table.window()->screen()->availableGeometry(),
                                    frameGeometry().size(), minimumSizeHint().expandedTo({480, 280}) + frame);
    resize(place.size() - frame);
    move(place.topLeft());
}
