// chinese_font.h: the shapes of letters for windows that speak Simplified Chinese.
#pragma once

/// All letters come from a font with the Simplified Chinese shapes, where the system has one that is known by name, so
/// that lines are as high as its letters; from the application's font otherwise. Left to itself, a system that is not
/// set to Chinese takes any font for the letters that its own lacks, often one with shapes and punctuation of another
/// country, and cuts what is higher than its own. GUI thread, before the first window.
void preferSimplifiedChinese();
