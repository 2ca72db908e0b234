// dialog_parts.h: what the dialogs of security keys are put together from.
#pragma once

#include <QString>

class QFormLayout;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTextEdit;
class QWidget;

enum class ButtonColor
{
    Green,
    Red,
    Grey
};

/// White text on the colour; Enter elsewhere in the dialog does not press it.
QPushButton* makeColoredButton(const QString& text, ButtonColor color);
QPushButton* makePlainButton(const QString& text);

/// A group with a form whose fields grow.
QGroupBox* makeFormGroup(const QString& title, QFormLayout** form);

/// Gives the labels of all forms in `window` the width of the widest, so that the fields of its groups line up.
void alignForms(const QWidget& window);

/// One line that can be selected and copied but not changed. A value from outside goes in by showValue().
QLineEdit* makeReadOnlyField(const QString& objectName);

/// Shows the start of `value`, and all of it (up to a bound) as the tool tip when it may not fit.
void showValue(QLineEdit* field, const QString& value);

/// Plain text on any number of lines, read-only. A line too long for the box goes on further in, so that no value can
/// look like a line of its own.
QTextEdit* makeReadOnlyText(const QString& objectName);
void showText(QTextEdit* box, const QString& text);

/// `pixels` high, bold.
QLabel* makeHeading(const QString& text, int pixels);
