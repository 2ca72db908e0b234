#include "ui/form_rows.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <algorithm>

QLabel* addFormRow(QFormLayout* form, const QString& text, QWidget* field)
{
    QLabel* label = makeLabelFor(field, text);
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

QLabel* makeLabelFor(QWidget* field, const QString& text)
{
    auto* label = new QLabel(text);
    label->setBuddy(field);
    return label;
}

void alignFormLabels(const QWidget& window)
{
    QList<QWidget*> labels;
    int widest = 0;
    for (const QFormLayout* form : window.findChildren<QFormLayout*>()) {
        for (int row = 0; row < form->rowCount(); ++row) {
            QLayoutItem* item = form->itemAt(row, QFormLayout::LabelRole);
            if (!item || !item->widget())
                continue;
            labels << item->widget();
            widest = std::max(widest, item->widget()->sizeHint().width());
        }
    }
    for (QWidget* label : qAsConst(labels))
        label->setMinimumWidth(widest);
}

void widenFor(QLineEdit* edit, const QString& text)
{
    // The frame and the cursor's room do not depend on the text: they are what the hint has beyond its own.
    constexpr int kFrameAndCursor = 16;
    edit->setMinimumWidth(edit->fontMetrics().horizontalAdvance(text) + kFrameAndCursor);
}

void padSides(QPushButton* button)
{
    constexpr int kSideMargin = 8;
    button->setMinimumWidth(button->sizeHint().width() + 2 * kSideMargin);
}
