#include "ui/fixed_font.h"

#include <QFontDatabase>

QFont fixedFont()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setFamilies({font.family()});
    return font;
}
