// record_keeper.h: keeps the record file of a device process.
#pragma once

#include "devices/device_record.h"
#include "tools/usb_daemon/device_service.h"

#include <QTimer>

/// Writes the record at the start, its time of last update every 30 s, and removes it at the end. The file is always
/// whole; a failed update keeps the old one and is tried again at the next turn.
class RecordKeeper final : public DeviceService
{
public:
    explicit RecordKeeper(const DeviceContext& context);
    ~RecordKeeper() override;

    QString start() override;

private:
    QString writeRecord();

    QString m_path;
    DeviceRecord m_record;
    QTimer m_updates;
    bool m_written = false;
};
