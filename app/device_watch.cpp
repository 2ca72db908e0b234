#include "app/device_watch.h"

#include "app/device_table.h"
#include "app/status_line.h"
#include "runtime/shown_text.h"

#include <QPointer>

namespace {

constexpr int kPeriodMs = 3000;

} // namespace

DeviceWatch::DeviceWatch(DeviceTable& table, StatusLine& line, const DeviceLauncher& launcher,
                         TakeProcessSnapshot takeSnapshot, QObject* parent)
    : QObject(parent)
    , m_table(table)
    , m_line(line)
    , m_launcher(launcher)
    , m_takeSnapshot(std::move(takeSnapshot))
{
    connect(&m_timer, &QTimer::timeout, this, [this] { look(); });
    m_timer.start(kPeriodMs);
}

void DeviceWatch::countRows()
{
    StatusLine::Status status;
    for (const int row : m_table.deviceRows()) {
        ++status.devices;
        status.ended += m_table.isEnded(row) ? 1 : 0;
    }
    status.programMissing = !m_launcher.hasProgram();
    m_line.setStatus(status);
}

DeviceLauncher::Ended DeviceWatch::lookWhenEnded()
{
    return [watch = QPointer<DeviceWatch>(this)](const DeviceEnd&) {
        if (watch) // later, as the process may end before its row is there
            QTimer::singleShot(0, watch, [watch] { watch->look(); });
    };
}

QString DeviceWatch::remarkOn(qint64 processId)
{
    const ProcessSnapshot running = look();
    if (!running.valid() || running.runsProgram(processId, deviceProgramName()))
        return {};
    if (!running.contains(processId))
        return tr("The device has ended. \"Refresh List\" takes its row away.");
    return tr("The device has ended. Its process ID now belongs to another program: %1")
        .arg(shownText(running.programOf(processId)));
}

ProcessSnapshot DeviceWatch::look()
{
    const std::vector<int> rows = m_table.deviceRows();
    const ProcessSnapshot running = rows.empty() ? ProcessSnapshot::failed() : m_takeSnapshot();
    if (running.valid()) {
        for (const int row : rows) {
            const qint64 processId = m_table.identityAt(row)->processId.toLongLong();
            m_table.setEnded(row, !running.runsProgram(processId, deviceProgramName()));
        }
    }
    countRows();
    return running;
}
