#include "app/device_type_bar.h"

#include "ui/png.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

DeviceTypeBar::DeviceTypeBar(const std::vector<DeviceTypeEntry>& entries, QWidget* parent) : QWidget(parent)
{
    setFixedHeight(120);
    auto* layout = new QHBoxLayout(this);
    layout->setSpacing(20);
    layout->setContentsMargins(20, 12, 20, 12);
    for (const DeviceTypeEntry& entry : entries)
        layout->addWidget(makeEntry(entry), 0, Qt::AlignVCenter);
    layout->addStretch();
}

QWidget* DeviceTypeBar::makeEntry(const DeviceTypeEntry& entry)
{
    auto* button = new QPushButton;
    button->setFixedSize(56, 56);
    button->setIcon(readPng(entry.iconPath));
    button->setIconSize(QSize(40, 40));
    button->setFlat(true);
    button->setToolTip(entry.label);
    button->setAccessibleName(entry.label);
    button->setStyleSheet(QStringLiteral("QPushButton { background: transparent; border: none; border-radius: 14px; }"
                                         "QPushButton:hover { background: #d8eaed; }"
                                         "QPushButton:focus { border: 2px solid #90caf9; }"
                                         "QPushButton:pressed { background: #90caf9; }"));
    if (entry.action)
        connect(button, &QPushButton::clicked, this, [action = entry.action] { action(); });
    else
        connect(button, &QPushButton::clicked, this, &DeviceTypeBar::closedFeatureRequested);

    auto* label = new QLabel(entry.label);
    label->setFixedHeight(18);
    label->setAlignment(Qt::AlignCenter);
    label->setStyleSheet(QStringLiteral(
        "color: #555; font-size: 12px; font-weight: 500; background: transparent; text-decoration: none;"));

    auto* box = new QWidget;
    auto* column = new QVBoxLayout(box);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);
    column->addWidget(button, 0, Qt::AlignHCenter);
    column->addWidget(label);
    return box;
}
