#include "app/edge_grip.h"

#include <QMouseEvent>

#include <algorithm>

EdgeGrip::EdgeGrip(Side side, int width, QWidget* window) : QWidget(window), m_side(side)
{
    setFixedWidth(width);
    setCursor(Qt::SizeHorCursor);
    window->installEventFilter(this);
    place();
}

void EdgeGrip::place()
{
    const QWidget& window = *parentWidget();
    const int left = m_side == Side::Left ? 0 : window.width() - width();
    setGeometry(left, 0, width(), window.height());
}

bool EdgeGrip::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize)
        place();
    return QWidget::eventFilter(watched, event);
}

void EdgeGrip::mousePressEvent(QMouseEvent* event)
{
    m_pressedAt = event->globalX();
    m_windowAtPress = parentWidget()->geometry();
}

void EdgeGrip::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton))
        return;
    QWidget& window = *parentWidget();
    const int moved = event->globalX() - m_pressedAt;
    const int wanted = m_windowAtPress.width() + (m_side == Side::Right ? moved : -moved);
    QRect wider = m_windowAtPress;
    if (m_side == Side::Right)
        wider.setWidth(std::max(wanted, window.minimumWidth()));
    else
        wider.setLeft(wider.right() + 1 - std::max(wanted, window.minimumWidth()));
    window.setGeometry(wider);
}
