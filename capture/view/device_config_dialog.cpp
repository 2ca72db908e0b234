#include "capture/view/device_config_dialog.h"

#include "capture/decode/device_config_rows.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

QTreeWidgetItem* itemOf(const DetailRow& row)
{
    auto* item = new QTreeWidgetItem({row.name, row.value});
    for (const DetailRow& child : row.children)
        item->addChild(itemOf(child));
    return item;
}

/// Titles of groups use the room of the value that they do not have.
void spreadTitles(QTreeWidgetItem* item)
{
    if (item->childCount() == 0 && !item->text(1).isEmpty())
        return;
    item->setFirstColumnSpanned(item->text(1).isEmpty() && item->childCount() > 0);
    for (int row = 0; row < item->childCount(); ++row)
        spreadTitles(item->child(row));
}

} // namespace

DeviceConfigDialog::DeviceConfigDialog(const QJsonObject& config, const QString& title, QWidget* parent,
                                       Prompter& prompter)
    : QDialog(parent)
    , m_tree(new QTreeWidget(this))
{
    setWindowTitle(tr("Device Configuration - %1").arg(title));
    resize(800, 600);
    m_tree->setHeaderLabels({tr("Property"), tr("Value")});
    m_tree->setUniformRowHeights(true);
    m_tree->setAlternatingRowColors(true);
    m_tree->setIndentation(12);
    m_tree->setColumnWidth(0, 200);
    m_tree->setColumnWidth(1, 500);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tree);
    layout->addWidget(buttons);

    if (config.isEmpty()) {
        prompter.information(this, tr("Device Configuration"),
                             tr("No configuration information available for this device."));
        return;
    }
    QList<QTreeWidgetItem*> groups;
    for (const DetailRow& row : deviceConfigRows(config).children)
        groups << itemOf(row);
    m_tree->addTopLevelItems(groups);
    spreadTitles(m_tree->invisibleRootItem());
    m_tree->expandAll();
}
