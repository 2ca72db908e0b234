#include "ui/dialog_parts.h"

#include "ui/form_rows.h"
#include "ui/plain_tool_tip.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTextBlockFormat>
#include <QTextCursor>
#include <QTextEdit>
#include <QTextOption>

namespace {

bool isEnter(const QKeyEvent& event)
{
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

/// A dialog would take an auto-default button, which answers Enter by itself, for its default one.
class PlainButton final : public QPushButton
{
public:
    using QPushButton::QPushButton;

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        if (isEnter(*event))
            click();
        else
            QPushButton::keyPressEvent(event);
    }
};

/// Asks for all that its content needs: the base asks for no more than 24 lines.
class ContentArea final : public QScrollArea
{
public:
    explicit ContentArea(QWidget* content)
    {
        setWidget(content);
        setWidgetResizable(true);
        setFrameShape(QFrame::NoFrame);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setFocusPolicy(Qt::NoFocus);
        connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
            if (now && isAncestorOf(now))
                ensureWidgetVisible(now);
        });
    }

    QSize sizeHint() const override { return widget()->sizeHint() + QSize(barWidth(), 0); }
    QSize minimumSizeHint() const override
    {
        return {widget()->minimumSizeHint().width() + barWidth(), QScrollArea::minimumSizeHint().height()};
    }

    /// The content may need another width now.
    bool eventFilter(QObject* object, QEvent* event) override
    {
        if (object == widget() && event->type() == QEvent::LayoutRequest)
            updateGeometry();
        return QScrollArea::eventFilter(object, event);
    }

private:
    int barWidth() const { return verticalScrollBar()->sizeHint().width(); }
};

class EnterFilter final : public QObject
{
public:
    EnterFilter(QObject* parent, std::function<void()> action) : QObject(parent), m_action(std::move(action)) {}

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() != QEvent::KeyPress || !isEnter(*static_cast<QKeyEvent*>(event)))
            return false;
        m_action();
        return true;
    }

private:
    std::function<void()> m_action;
};

struct Shades
{
    const char* normal;
    const char* hover;
    const char* pressed;
};

Shades shadesOf(ButtonColor color)
{
    switch (color) {
    case ButtonColor::Green:
        return {"#2e7d32", "#388e3c", "#1b5e20"};
    case ButtonColor::Red:
        return {"#c62828", "#d32f2f", "#8e1b1b"};
    case ButtonColor::Grey:
        break;
    }
    return {"#616161", "#757575", "#424242"};
}

} // namespace

QPushButton* makeColoredButton(const QString& text, ButtonColor color)
{
    QPushButton* button = makePlainButton(text);
    const Shades shades = shadesOf(color);
    button->setStyleSheet(
        QStringLiteral("QPushButton { background-color: %1; color: white; border: 2px solid %1; border-radius: 4px;"
                       " padding: 6px 18px; font-weight: bold; }"
                       "QPushButton:hover { background-color: %2; border-color: %2; }"
                       "QPushButton:pressed { background-color: %3; border-color: %3; }"
                       "QPushButton:focus { border-color: %3; }"
                       "QPushButton:disabled { background-color: #bdbdbd; border-color: #bdbdbd; }")
            .arg(QLatin1String(shades.normal), QLatin1String(shades.hover), QLatin1String(shades.pressed)));
    return button;
}

QHBoxLayout* makeButtonRow(std::initializer_list<QPushButton*> buttons)
{
    auto* row = new QHBoxLayout;
    row->addStretch();
    for (QPushButton* button : buttons)
        row->addWidget(button);
    return row;
}

QPushButton* makePlainButton(const QString& text)
{
    auto* button = new PlainButton(text);
    button->setAutoDefault(false);
    padSides(button);
    return button;
}

QGroupBox* makeFormGroup(const QString& title, QFormLayout** form)
{
    auto* group = new QGroupBox(title);
    *form = new QFormLayout(group);
    (*form)->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    (*form)->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    return group;
}

QWidget* makeScrollable(QWidget* content)
{
    return new ContentArea(content);
}

void resizeOnScreen(QWidget& dialog, QSize size)
{
    constexpr QSize kFrameAndTitle(16, 48);
    dialog.resize(size.boundedTo(dialog.screen()->availableSize() - kFrameAndTitle));
}

QLineEdit* makeReadOnlyField(const QString& objectName)
{
    auto* field = new QLineEdit;
    field->setObjectName(objectName);
    field->setReadOnly(true);
    QPalette palette = field->palette();
    palette.setColor(QPalette::Base, palette.color(QPalette::Window));
    field->setPalette(palette);
    return field;
}

void showValue(QLineEdit* field, const QString& value)
{
    constexpr int kSurelyFits = 40;
    field->setText(value);
    field->setCursorPosition(0);
    field->setToolTip(value.size() > kSurelyFits ? plainToolTip(field->text()) : QString());
}

QTextEdit* makeReadOnlyText(const QString& objectName)
{
    auto* box = new QTextEdit;
    box->setObjectName(objectName);
    box->setReadOnly(true);
    box->setAcceptRichText(false);
    box->setUndoRedoEnabled(false);
    box->setTabChangesFocus(true);
    QTextOption option = box->document()->defaultTextOption();
    option.setTextDirection(Qt::LeftToRight);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    box->document()->setDefaultTextOption(option);
    return box;
}

void showText(QTextEdit* box, const QString& text)
{
    constexpr qreal kContinuationIndent = 28;
    box->clear();
    QTextBlockFormat format;
    format.setLeftMargin(kContinuationIndent);
    format.setTextIndent(-kContinuationIndent);
    QTextCursor cursor(box->document());
    cursor.setBlockFormat(format);
    cursor.insertText(text); // each line takes the format of the block it is split from
    box->moveCursor(QTextCursor::Start);
}

void onEnter(QAbstractItemView* view, std::function<void()> action)
{
    view->installEventFilter(new EnterFilter(view, std::move(action)));
}

QLabel* makeHeading(const QString& text, int pixels)
{
    auto* heading = new QLabel(text);
    heading->setTextFormat(Qt::PlainText);
    heading->setWordWrap(true);
    QFont font = heading->font();
    font.setBold(true);
    font.setPixelSize(pixels);
    heading->setFont(font);
    return heading;
}
