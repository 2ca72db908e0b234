#include "ui/plain_tool_tip.h"

#include <QTextDocument>

QString plainToolTip(const QString& text)
{
    if (!Qt::mightBeRichText(text))
        return text;
    return QStringLiteral("<span style=\"white-space:pre-wrap\">%1</span>").arg(text.toHtmlEscaped());
}
