// chinese_font.h: the shapes of letters for windows that speak Simplified Chinese.
#pragma once

/// Letters that the application's font lacks come from a font with the Simplified Chinese shapes, where the system has
/// one that is known by name. Left to itself, a system that is not set to Chinese takes any font that has the letter,
/// often with shapes and punctuation of another country. GUI thread, before the first window.
void preferSimplifiedChinese();
