#include "ui/plain_tool_tip.h"

#include <QHelpEvent>
#include <QRegularExpression>
#include <QTextDocument>
#include <QToolTip>
#include <QWidget>

namespace {

class UnstyledToolTip final : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::ToolTip)
            return false;
        const auto* widget = static_cast<QWidget*>(watched);
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), plainToolTip(widget->toolTip()));
        return true;
    }
};

} // namespace

QString plainToolTip(const QString& text)
{
    constexpr int kLongestLine = 100;
    if (text.size() <= kLongestLine && !Qt::mightBeRichText(text))
        return text;
    static const QRegularExpression longWord(QStringLiteral("(\\S{50})"));
    const QString breakable = QString(text).replace(longWord, QStringLiteral("\\1\u200b")); // a blank without width
    return QStringLiteral("<span style=\"white-space:pre-wrap\">%1</span>").arg(breakable.toHtmlEscaped());
}

void showToolTipUnstyled(QWidget* widget)
{
    widget->installEventFilter(new UnstyledToolTip(widget));
}
