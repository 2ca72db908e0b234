// window_body.h: the rounded body and the soft shadow that the frameless window draws for itself.
#pragma once

#include <QRect>

class QPainter;

/// Width in pixels of the shadow around the body, which is the window's outer margin.
constexpr int kShadowWidth = 8;

/// Paints shadow and body into `window`, the whole rectangle of a translucent widget.
void paintWindowBody(QPainter& painter, const QRect& window);
