// device_watch.h: knows which rows of the table stand for devices that still run, and says so.
#pragma once

#include "devices/device_launcher.h"
#include "devices/process_table.h"

#include <QObject>
#include <QTimer>

class DeviceTable;
class StatusLine;

/// Looks at the processes of all rows every few seconds, with one snapshot: rows whose process has ended or runs
/// another program are dimmed and counted in the status line.
class DeviceWatch : public QObject
{
    Q_OBJECT

public:
    /// The table, the line and the launcher outlive it.
    DeviceWatch(DeviceTable& table, StatusLine& line, const DeviceLauncher& launcher, TakeProcessSnapshot takeSnapshot,
                QObject* parent);

    /// Brings the status line up to date with the table, without a look at the processes.
    void countRows();

    /// What looks at the processes once a device process that is being launched has ended, whether or not this still
    /// lives.
    DeviceLauncher::Ended lookWhenEnded();

    /// Looks at the processes now. What is to be said before this one is ended: that it has ended already, or is no
    /// device; empty for a device.
    QString remarkOn(qint64 processId);

private:
    ProcessSnapshot look();

    DeviceTable& m_table;
    StatusLine& m_line;
    const DeviceLauncher& m_launcher;
    TakeProcessSnapshot m_takeSnapshot;
    QTimer m_timer;
};
