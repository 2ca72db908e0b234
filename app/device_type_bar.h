// device_type_bar.h: the row of buttons that create devices, one per entry.
#pragma once

#include <QString>
#include <QWidget>

#include <functional>
#include <vector>

/// One button of the bar; an empty action stands for a feature that is not open yet.
struct DeviceTypeEntry
{
    QString iconPath;
    QString label;
    std::function<void()> action;
};

class DeviceTypeBar : public QWidget
{
    Q_OBJECT

public:
    explicit DeviceTypeBar(const std::vector<DeviceTypeEntry>& entries, QWidget* parent = nullptr);

signals:
    /// An entry without an action was clicked.
    void closedFeatureRequested();

private:
    QWidget* makeEntry(const DeviceTypeEntry& entry);
};
