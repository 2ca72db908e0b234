// dialog_parts.h: what dialogs are put together from.
#pragma once

#include <QString>

#include <functional>
#include <initializer_list>

class QAbstractItemView;
class QFormLayout;
class QGroupBox;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QSize;
class QTextEdit;
class QWidget;

enum class ButtonColor
{
    Green,
    Red,
    Grey
};

/// Enter presses the button while it has the focus, and from elsewhere in the dialog only when it is made the default.
QPushButton* makePlainButton(const QString& text);

/// The same in white text on the colour.
QPushButton* makeColoredButton(const QString& text, ButtonColor color);

/// The buttons at the right, on the lower edge of a dialog.
QHBoxLayout* makeButtonRow(std::initializer_list<QPushButton*> buttons);

/// A group with a form whose fields grow.
QGroupBox* makeFormGroup(const QString& title, QFormLayout** form);

/// Takes `content`, which scrolls where the screen has no room for all of it. What gets the focus is scrolled to.
QWidget* makeScrollable(QWidget* content);

/// Resizes a dialog that is not shown yet to `size`, or to what its screen has room for.
void resizeOnScreen(QWidget& dialog, QSize size);

/// One line that can be selected and copied but not changed. A value goes in by showValue().
QLineEdit* makeReadOnlyField(const QString& objectName);

/// Shows the start of `value`, and all of it as the tool tip when it may not fit. A value from outside comes as
/// shownText (runtime/shown_text.h) made it.
void showValue(QLineEdit* field, const QString& value);

/// Plain text on any number of lines, read-only. A line too long for the box goes on further in, so that no value can
/// look like a line of its own.
QTextEdit* makeReadOnlyText(const QString& objectName);
void showText(QTextEdit* box, const QString& text);

/// Calls `action` when Enter is pressed in `view`: what a double click on an entry does, from the keyboard.
void onEnter(QAbstractItemView* view, std::function<void()> action);

/// `pixels` high, bold.
QLabel* makeHeading(const QString& text, int pixels);
