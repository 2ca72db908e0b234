// form_rows.h: rows of forms whose labels belong to their fields.
#pragma once

#include <QList>
#include <QString>

class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QWidget;

/// Gives a widget the object name by which tests and the tour find it.
template<typename Widget>
Widget* named(const char* name, Widget* widget)
{
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

/// Adds a row; the label names `field` to assistive tools. It is returned for rows that come and go.
QLabel* addFormRow(QFormLayout* form, const QString& text, QWidget* field);

/// The same for several widgets side by side: the first gets the label, `stretched` gets the width.
QLabel* addFormRow(QFormLayout* form, const QString& text, const QList<QWidget*>& fields, QWidget* stretched = nullptr);

/// Shows a row at `index`, or hides its widgets and takes it out: a form keeps the spacing of a row that is only
/// hidden. `label` is null for a field that spans both columns.
void setRowVisible(QFormLayout* form, int index, QLabel* label, QWidget* field, bool visible);

/// A label that names `field` to assistive tools.
QLabel* makeLabelFor(QWidget* field, const QString& text);

/// Gives the labels of all forms in `window` the width of the widest, so that the fields of its groups line up.
void alignFormLabels(const QWidget& window);

/// Never narrower than `text` needs in the edit's font.
void widenFor(QLineEdit* edit, const QString& text);

/// Room at both sides of the button's text, which styles leave little of.
void padSides(QPushButton* button);
