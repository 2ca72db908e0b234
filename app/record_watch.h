// record_watch.h: finds devices that others have made, by their records.
#pragma once

#include "devices/device_record_manager.h"

#include <QObject>
#include <QSet>
#include <QTimer>

#include <functional>

/// Looks into the records folder every second. GUI thread.
class RecordWatch : public QObject
{
    Q_OBJECT

public:
    using Appeared = std::function<void(const DeviceRecordManager::RestoredDevice& device)>;

    /// `appeared` gets each device whose record is new, once. The manager outlives it.
    RecordWatch(const DeviceRecordManager& records, Appeared appeared, QObject* parent);

    /// The records that are there now are known.
    void knowAll();

private:
    void look();

    const DeviceRecordManager& m_records;
    Appeared m_appeared;
    QSet<QString> m_known; ///< file names
    QTimer m_timer;
};
