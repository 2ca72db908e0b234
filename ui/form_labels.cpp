#include "ui/form_labels.h"

#include <QFormLayout>
#include <QWidget>

#include <algorithm>

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
