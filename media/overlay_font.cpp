#include "media/overlay_font.h"

#include <QFile>

std::string overlayFont()
{
    // The overlay's text is Chinese; the fonts after the first three show its numbers at least.
    static constexpr const char* kFonts[] = {
        "C:/Windows/fonts/mingliu.ttc",
        "C:/Windows/Fonts/msyh.ttc",
        "/usr/share/fonts/opentype/noto/NotoSansCJK-Regular.ttc",
        "C:/Windows/Fonts/arial.ttf",
        "C:/Windows/Fonts/tahoma.ttf",
        "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
    };
    for (const char* font : kFonts) {
        if (QFile::exists(QString::fromLatin1(font)))
            return font;
    }
    return kFonts[0];
}
