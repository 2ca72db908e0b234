#include "ui/path_edit.h"

QSize PathEdit::sizeHint() const
{
    const QString typicalPath = QStringLiteral("C:/Users/Public/Videos/holiday_1366x768_2026.mp4");
    return {fontMetrics().horizontalAdvance(typicalPath), QLineEdit::sizeHint().height()};
}
