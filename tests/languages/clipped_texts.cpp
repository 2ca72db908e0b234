#include "tests/languages/clipped_texts.h"

#include <QAbstractButton>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QStyle>

namespace {

constexpr int kFrame = 2; // pixels at each side of a button's text at the least

QString plain(QString text)
{
    return text.remove(QLatin1Char('&'));
}

class Clippings
{
public:
    explicit Clippings(const QWidget& window) : m_window(window)
    {
        const auto widgets = window.findChildren<QWidget*>();
        for (const QWidget* widget : widgets) {
            if (widget->isVisibleTo(&window) && !isInsideComposite(*widget))
                check(*widget);
        }
    }

    QStringList found;

private:
    /// Parts of spin boxes, combo boxes and tables are laid out by these.
    static bool isInsideComposite(const QWidget& widget)
    {
        return qobject_cast<QAbstractSpinBox*>(widget.parentWidget()) ||
               qobject_cast<QComboBox*>(widget.parentWidget());
    }

    /// The window, or all of the content that scrolls in it and holds the widget.
    const QWidget& surroundings(const QWidget& widget) const
    {
        for (const QWidget* outer = &widget; outer != &m_window; outer = outer->parentWidget()) {
            const auto* area = qobject_cast<const QScrollArea*>(outer->parentWidget()->parentWidget());
            if (area && area->widget() == outer)
                return *outer;
        }
        return m_window;
    }

    void check(const QWidget& widget)
    {
        if (const auto* label = qobject_cast<const QLabel*>(&widget))
            checkLabel(*label);
        else if (const auto* header = qobject_cast<const QHeaderView*>(&widget))
            checkHeader(*header);
        else if (const auto* group = qobject_cast<const QGroupBox*>(&widget))
            need(widget, group->title(), QSize(group->minimumSizeHint().width(), group->fontMetrics().height()));
        else if (const auto* edit = qobject_cast<const QLineEdit*>(&widget))
            checkLineEdit(*edit);
        else if (const auto* button = qobject_cast<const QAbstractButton*>(&widget))
            checkButton(*button);
        else if (qobject_cast<const QComboBox*>(&widget) || qobject_cast<const QAbstractSpinBox*>(&widget))
            need(widget, QString::fromLatin1(widget.metaObject()->className()), widget.minimumSizeHint());
        else
            return;
        const QWidget& whole = surroundings(widget);
        const QRect place(widget.mapTo(&whole, QPoint(0, 0)), widget.size());
        if (!whole.rect().contains(place))
            found << QStringLiteral("%1 %2 reaches out of the window").arg(nameOf(widget), textOf(widget));
    }

    void checkLabel(const QLabel& label)
    {
        if (label.pixmap(Qt::ReturnByValue).isNull() == false || label.text().isEmpty())
            return;
        const int margins = 2 * label.margin();
        if (label.wordWrap()) {
            need(label, label.text(), QSize(0, label.heightForWidth(label.width())));
            return;
        }
        const QSize text = label.fontMetrics().size(Qt::TextShowMnemonic, label.text());
        need(label, label.text(), text + QSize(margins, margins));
    }

    void checkButton(const QAbstractButton& button)
    {
        if (qobject_cast<const QCheckBox*>(&button) || qobject_cast<const QRadioButton*>(&button)) {
            need(button, button.text(), button.sizeHint());
            return;
        }
        if (button.text().isEmpty())
            return;
        // Of small buttons with one sign on them only the sign itself must fit.
        const int width = button.fontMetrics().size(Qt::TextShowMnemonic, button.text()).width();
        const int height = button.fontMetrics().tightBoundingRect(button.text()).height();
        need(button, button.text(), QSize(width + 2 * kFrame, height + 2 * kFrame));
    }

    /// A line of its font, and the placeholder as it would show in an empty field.
    void checkLineEdit(const QLineEdit& edit)
    {
        constexpr int kFrameAndMargin = 4; // pixels at each side, of every style that is used here
        const QString text = edit.placeholderText();
        const int width = text.isEmpty() ? 0 : edit.fontMetrics().horizontalAdvance(text) + 2 * kFrameAndMargin;
        need(edit, text, QSize(width, edit.sizeHint().height()));
    }

    void checkHeader(const QHeaderView& header)
    {
        if (header.orientation() != Qt::Horizontal)
            return;
        const int margin = header.style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, &header);
        const bool wraps = header.defaultAlignment() & Qt::TextWordWrap;
        for (int section = 0; section < header.count(); ++section) {
            const QString text = header.model()->headerData(section, Qt::Horizontal).toString();
            const QSize room(header.sectionSize(section) - 2 * margin, header.height());
            const QRect bounds(0, 0, wraps ? room.width() : 1 << 16, 1 << 16);
            const QSize size =
                header.fontMetrics().boundingRect(bounds, wraps ? int(Qt::TextWordWrap) : 0, text).size();
            if (size.width() > room.width() || size.height() > room.height())
                complain(header, text, size, room);
        }
    }

    void need(const QWidget& widget, const QString& text, const QSize& size)
    {
        if (size.width() > widget.width() || size.height() > widget.height())
            complain(widget, text, size, widget.size());
    }

    void complain(const QWidget& widget, const QString& text, const QSize& size, const QSize& room)
    {
        found << QStringLiteral("%1 \"%2\" needs %3 x %4 and has %5 x %6")
                     .arg(nameOf(widget), text)
                     .arg(size.width())
                     .arg(size.height())
                     .arg(room.width())
                     .arg(room.height());
    }

    static QString nameOf(const QWidget& widget)
    {
        return QString::fromLatin1(widget.metaObject()->className()) + QLatin1Char(' ') + widget.objectName();
    }

    static QString textOf(const QWidget& widget)
    {
        const QVariant text = widget.property("text");
        return text.isValid() ? text.toString() : widget.property("title").toString();
    }

    const QWidget& m_window;
};

} // namespace

QStringList clippedTexts(const QWidget& window)
{
    return Clippings(window).found;
}

QStringList ownTexts(const QWidget& window)
{
    QStringList texts{window.windowTitle()};
    QList<QWidget*> widgets = window.findChildren<QWidget*>();
    widgets << const_cast<QWidget*>(&window);
    for (const QWidget* widget : qAsConst(widgets)) {
        texts << widget->toolTip();
        if (const auto* label = qobject_cast<const QLabel*>(widget))
            texts << label->text();
        else if (const auto* button = qobject_cast<const QAbstractButton*>(widget))
            texts << plain(button->text());
        else if (const auto* group = qobject_cast<const QGroupBox*>(widget))
            texts << group->title();
        else if (const auto* edit = qobject_cast<const QLineEdit*>(widget))
            texts << edit->placeholderText();
        else if (const auto* header = qobject_cast<const QHeaderView*>(widget)) {
            for (int section = 0; section < header->count() && header->orientation() == Qt::Horizontal; ++section)
                texts << header->model()->headerData(section, Qt::Horizontal).toString()
                      << header->model()->headerData(section, Qt::Horizontal, Qt::ToolTipRole).toString();
        }
        const auto actions = widget->actions();
        for (const QAction* action : actions)
            texts << plain(action->text()) << action->toolTip();
    }
    texts.removeAll(QString());
    texts.removeDuplicates();
    return texts;
}
