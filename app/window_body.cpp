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
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (int inset = kShadowWidth; inset >= 1; --inset) {
        painter.setBrush(QColor(180, 180, 180, 24 * inset / kShadowWidth + 4));
        painter.drawRoundedRect(insetBy(window, inset), kCornerRadius, kCornerRadius);
    }

    const QRect body = insetBy(window, kShadowWidth);
    painter.setBrush(QColor(230, 233, 240));
    painter.drawRoundedRect(body, kCornerRadius, kCornerRadius);

    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(180, 180, 180, 220), 2.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    painter.drawRoundedRect(body, kCornerRadius, kCornerRadius);
}
