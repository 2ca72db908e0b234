// high_dpi.h: windows as large as the screen's density and the user's setting ask for.
#pragma once

/// Windows scale with their screen by any factor, 1.5 included, and icons are taken from their dense drawings. Before
/// the application object is made, in every program with a window.
void scaleWithScreens();
