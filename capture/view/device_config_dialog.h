// device_config_dialog.h: shows the USB configuration of a virtual device as a tree.
#pragma once

#include "ui/prompter.h"

#include <QDialog>
#include <QJsonObject>

class QTreeWidget;

/// Not modal unless its opener makes it so; read-only. An empty configuration gives an information box and an empty
/// tree. Numbers of the configuration descriptor are read as numbers, values of interface and endpoint descriptors as
/// texts that show as they stand (a number there shows as nothing); values that are missing or of another type show as
/// 0 or as nothing.
class DeviceConfigDialog : public QDialog
{
    Q_OBJECT

public:
    DeviceConfigDialog(const QJsonObject& config, const QString& title, QWidget* parent = nullptr,
                       Prompter& prompter = systemPrompter());

private:
    QTreeWidget* m_tree;
};
