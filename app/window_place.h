// window_place.h: where the main window stood and how wide it was, kept in the user's settings.
#pragma once

class QWidget;

/// Puts the window where it stood last, on a screen that is still there; leaves it alone when nothing is known.
void restorePlace(QWidget& window);

/// What cannot be written is forgotten.
void rememberPlace(const QWidget& window);
