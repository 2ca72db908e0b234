#include "ui/chinese_font.h"

#include <QApplication>
#include <QFont>

void preferSimplifiedChinese()
{
    QFont font = QApplication::font();
    font.setFamilies({QStringLiteral("Microsoft YaHei UI"), QStringLiteral("Microsoft YaHei"),
                      QStringLiteral("Noto Sans CJK SC"), QStringLiteral("Source Han Sans SC"),
                      QStringLiteral("SimSun"), font.family()});
    QApplication::setFont(font);
}
