#include "app/record_watch.h"

namespace {

constexpr int kPeriodMs = 1000;

QSet<QString> setOf(const QStringList& names)
{
    return QSet<QString>(names.begin(), names.end());
}

} // namespace

RecordWatch::RecordWatch(const DeviceRecordManager& records, Appeared appeared, QObject* parent)
    : QObject(parent)
    , m_records(records)
    , m_appeared(std::move(appeared))
{
    connect(&m_timer, &QTimer::timeout, this, &RecordWatch::look);
    m_timer.start(kPeriodMs);
}

void RecordWatch::knowAll()
{
    m_known = setOf(m_records.listRecords());
}

void RecordWatch::look()
{
    const QSet<QString> there = setOf(m_records.listRecords());
    const QStringList strangers = (there - m_known).values();
    m_known = there;
    if (strangers.isEmpty())
        return;
    for (const auto& device : m_records.runningDevices(strangers))
        m_appeared(device);
}
