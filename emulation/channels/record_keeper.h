// record_keeper.h: keeps the record file of a device process.
#pragma once

#include "devices/device_record.h"
#include "emulation/channels/device_service.h"

#include <QTimer>

#include <chrono>

/// Writes the record at the start, again with a new time of last update at every interval, and removes it at the end.
/// The file is always whole; a failed update keeps the old one and is tried again at the next turn.
class RecordKeeper final : public DeviceService
{
public:
    explicit RecordKeeper(const DeviceContext& context, std::chrono::milliseconds interval = std::chrono::seconds(30));
    ~RecordKeeper() override;

    QString start() override;

    /// The member "host" from now on; a record that is there is written again.
    void setHost(const QJsonObject& host);

private:
    QString writeRecord();

    QString m_path;
    DeviceRecord m_record;
    QTimer m_updates;
    bool m_written = false;
};
