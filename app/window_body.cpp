#include "app/window_body.h"

#include <QPainter>

namespace {

constexpr qreal kCornerRadius = 10.0;

QRect insetBy(const QRect& rectangle, int inset)
{
    return rectangle.adjusted(inset, inset, -inset, -inset);
}

} // namespace

void paintWindowBody(QPainter& painter, const QRect& window)
{
    const QRect body = insetBy(window, kShadowWidth);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    // The body hides what the rings have below it, which is nearly all of them.
    constexpr int kCorner = 12;
    painter.save();
    painter.setClipRegion(QRegion(window) - body.adjusted(kCorner, 1, -kCorner, -1), Qt::IntersectClip);
    for (int inset = kShadowWidth; inset >= 1; --inset) {
        painter.setBrush(QColor(180, 180, 180, 24 * inset / kShadowWidth + 4));
        painter.drawRoundedRect(insetBy(window, inset), kCornerRadius, kCornerRadius);
    }
    painter.restore();

    painter.setBrush(QColor(230, 233, 240));
    painter.drawRoundedRect(body, kCornerRadius, kCornerRadius);

    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(180, 180, 180, 220), 2.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    painter.drawRoundedRect(body, kCornerRadius, kCornerRadius);
}
