// screen_setup.h: how every program with a window meets the screen. Before the application object is made.
#pragma once

/// Windows scale with their screen by any factor, 1.5 included, and icons are taken from their dense drawings.
void scaleWithScreens();

/// Under X11 Qt loads OpenGL and looks for a visual of it for each program's first window, a third of the time until
/// that is seen. Nothing here paints with it. A user's QT_XCB_GL_INTEGRATION holds.
void paintWithoutOpenGl();
