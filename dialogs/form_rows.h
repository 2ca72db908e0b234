// form_rows.h: rows of a settings form whose labels belong to their fields.
#pragma once

#include <QList>
#include <QString>

class QFormLayout;
class QLabel;
class QLayout;
class QLineEdit;
class QWidget;

/// Gives a widget the object name by which tests and the tour find it.
template<typename Widget>
Widget* named(const char* name, Widget* widget)
{
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

/// Adds a row; the label names `field` to assistive tools. It is returned for rows that are hidden at times.
QLabel* addFormRow(QFormLayout* form, const QString& text, QWidget* field);

/// The same for several widgets side by side; the label belongs to `buddy`.
QLabel* addFormRow(QFormLayout* form, const QString& text, QLayout* fields, QWidget* buddy);

/// Never narrower than `text` needs in the edit's font.
void widenFor(QLineEdit* edit, const QString& text);

/// Makes the label columns of several forms equally wide, so that their fields stand in one column.
void alignLabels(const QList<QFormLayout*>& forms);
