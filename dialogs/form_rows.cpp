#include "dialogs/form_rows.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

#include <algorithm>

QLabel* addFormRow(QFormLayout* form, const QString& text, QWidget* field)
{
    auto* label = new QLabel(text);
    label->setBuddy(field);
    form->addRow(label, field);
    return label;
}

QLabel* addFormRow(QFormLayout* form, const QString& text, QLayout* fields, QWidget* buddy)
{
    auto* label = new QLabel(text);
    label->setBuddy(buddy);
    form->addRow(label, fields);
    return label;
}

void widenFor(QLineEdit* edit, const QString& text)
{
    // The frame and the cursor's room do not depend on the text: they are what the hint has beyond its own.
    constexpr int kFrameAndCursor = 16;
    edit->setMinimumWidth(edit->fontMetrics().horizontalAdvance(text) + kFrameAndCursor);
}

void alignLabels(const QList<QFormLayout*>& forms)
{
    QList<QWidget*> labels;
    int width = 0;
    for (const QFormLayout* form : forms) {
        for (int row = 0; row < form->rowCount(); ++row) {
            QLayoutItem* item = form->itemAt(row, QFormLayout::LabelRole);
            if (!item || !item->widget())
                continue;
            labels << item->widget();
            width = std::max(width, item->widget()->sizeHint().width());
        }
    }
    for (QWidget* label : labels)
        label->setMinimumWidth(width);
}
