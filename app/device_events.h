// device_events.h: what changes with the devices of a folder, for scripts.
#pragma once

#include "devices/device_record_manager.h"

#include <QJsonObject>

#include <map>
#include <vector>

/// Looks at the records and processes whenever it is asked. Changes that cancel out between two looks are not seen.
class DeviceEvents
{
public:
    /// The manager outlives it.
    explicit DeviceEvents(const DeviceRecordManager& records);

    /// What has changed since the last look, in JSON objects whose "event" is one of these; the first look finds all
    /// devices "present". "created", "configured", "nodes" and "lost" have the members of deviceJson(); "ended" has
    /// "processId", "type", "name" and the "reason".
    std::vector<QJsonObject> look();

private:
    void compare(const DeviceRecordManager::RestoredDevice& device, std::vector<QJsonObject>& events);
    QString reasonOf(qint64 processId, const QStringList& recordsBefore) const;

    const DeviceRecordManager& m_records;
    std::map<qint64, QJsonObject> m_known; ///< by process id, as last seen
    bool m_isFirst = true;
};
