// status_line.h: the line under the table: how many devices there are, what is wrong with them, and the keys.
#pragma once

#include "devices/host_controller.h"

#include <QWidget>

class QLabel;

class StatusLine : public QWidget
{
    Q_OBJECT

public:
    explicit StatusLine(QWidget* parent = nullptr);

    struct Status
    {
        int devices = 0;
        int ended = 0;               ///< of them
        bool programMissing = false; ///< no device can be created
    };
    void setStatus(const Status& status);

    /// What the devices are plugged into; nothing is said of it where a bus driver does it.
    void setHostWay(std::optional<HostWay> way);

private:
    QLabel* m_counts;
    QLabel* m_missing;
    QLabel* m_host;
};
