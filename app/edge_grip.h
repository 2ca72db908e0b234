// edge_grip.h: the side margin of a window without the system's frame; dragging it makes the window wider.
#pragma once

#include <QRect>
#include <QWidget>

/// Keeps itself at one side of its parent, over the whole height. The parent's minimum width holds.
class EdgeGrip : public QWidget
{
    Q_OBJECT

public:
    enum class Side
    {
        Left,
        Right
    };
    EdgeGrip(Side side, int width, QWidget* window);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    void place();

    Side m_side;
    int m_pressedAt = 0; ///< global x
    QRect m_windowAtPress;
};
