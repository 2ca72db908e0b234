// overlay_font.h: which font file the drawtext overlay uses.
#pragma once

#include <string>

/// Path in UTF-8 of the preferred font, or of the first that this system has in its place.
std::string overlayFont();
