#include "dialogs/form_rows.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>

QLabel* addFormRow(QFormLayout* form, const QString& text, QWidget* field)
{
    auto* label = new QLabel(text);
    label->setBuddy(field);
    form->addRow(label, field);
    return label;
}

QLabel* addFormRow(QFormLayout* form, const QString& text, const QList<QWidget*>& fields, QWidget* stretched)
{
    auto* row = new QWidget(form->parentWidget());
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget* field : fields)
        layout->addWidget(field, field == stretched ? 1 : 0);
    if (!stretched)
        layout->addStretch();
    QLabel* label = addFormRow(form, text, row);
    label->setBuddy(fields.first());
    return label;
}

void setRowVisible(QFormLayout* form, int index, QLabel* label, QWidget* field, bool visible)
{
    const bool isIn = form->indexOf(field) >= 0;
    if (visible && !isIn) {
        if (label)
            form->insertRow(index, label, field);
        else
            form->insertRow(index, field);
    } else if (!visible && isIn) {
        const QFormLayout::TakeRowResult taken = form->takeRow(field);
        delete taken.labelItem;
        delete taken.fieldItem;
    }
    if (label)
        label->setVisible(visible);
    field->setVisible(visible);
}

void widenFor(QLineEdit* edit, const QString& text)
{
    // The frame and the cursor's room do not depend on the text: they are what the hint has beyond its own.
    constexpr int kFrameAndCursor = 16;
    edit->setMinimumWidth(edit->fontMetrics().horizontalAdvance(text) + kFrameAndCursor);
}
