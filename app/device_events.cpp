#include "app/device_events.h"

#include "app/device_json.h"
#include "runtime/user_folder.h"

#include <QDir>

#include <algorithm>
#include <set>

namespace {

bool isConfigured(const QJsonObject& device)
{
    return device[QLatin1String("host")].toObject()[QLatin1String("configured")].toBool();
}

QJsonObject event(const char* name, QJsonObject device)
{
    device.insert(QStringLiteral("event"), QLatin1String(name));
    return device;
}

} // namespace

DeviceEvents::DeviceEvents(const DeviceRecordManager& records) : m_records(records)
{}

std::vector<QJsonObject> DeviceEvents::look()
{
    std::vector<QJsonObject> events;
    const QStringList recordsBefore = m_records.listRecords(); // the next call removes those of ended processes
    std::set<qint64> running;
    const auto devices = m_records.restoreDevices();
    for (const auto& device : devices) {
        if (!device.isDevice)
            continue;
        running.insert(device.record.processId);
        compare(device, events);
    }
    for (auto known = m_known.begin(); known != m_known.end();) {
        if (running.count(known->first) != 0) {
            ++known;
            continue;
        }
        QJsonObject ended;
        for (const char* name : {"processId", "type", "name"})
            ended.insert(QLatin1String(name), known->second[QLatin1String(name)]);
        ended.insert(QStringLiteral("reason"), reasonOf(known->first, recordsBefore));
        events.push_back(event("ended", ended));
        known = m_known.erase(known);
    }
    m_isFirst = false;
    return events;
}

void DeviceEvents::compare(const DeviceRecordManager::RestoredDevice& device, std::vector<QJsonObject>& events)
{
    const QJsonObject now = deviceJson(device);
    const auto known = m_known.find(device.record.processId);
    const bool isNew = known == m_known.end();
    const QJsonObject before = isNew ? QJsonObject() : known->second;
    const QLatin1String nodes("nodes");
    if (isNew)
        events.push_back(event(m_isFirst ? "present" : "created", now));
    if (!(isNew && m_isFirst)) {
        if (isConfigured(now) != isConfigured(before))
            events.push_back(event(isConfigured(now) ? "configured" : "lost", now));
        else if (now[nodes] != before[nodes] && now.contains(nodes))
            events.push_back(event("nodes", now));
    }
    m_known[device.record.processId] = now;
}

QString DeviceEvents::reasonOf(qint64 processId, const QStringList& recordsBefore) const
{
    const QDir logs(userFolder() + QStringLiteral("/logs"));
    const QStringList notes =
        logs.entryList({QStringLiteral("usb-daemon-crash-*-%1-*.txt").arg(processId)}, QDir::Files);
    if (!notes.isEmpty())
        return QStringLiteral("it crashed, see %1").arg(logs.filePath(notes.last()));
    // A process that ends in order takes its record along, and so does who deletes it.
    const QString end = QStringLiteral("_%1.json").arg(processId);
    const bool leftRecord = std::any_of(recordsBefore.begin(), recordsBefore.end(),
                                        [&](const QString& name) { return name.endsWith(end); });
    return leftRecord ? QStringLiteral("its process was killed") : QStringLiteral("it was told to end");
}
