#include "app/script_commands.h"

#include "app/device_json.h"
#include "app/device_rows.h"
#include "devices/device_commands.h"
#include "devices/process_ender.h"
#include "runtime/shown_text.h"

#include <QDeadlineTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QThread>

#include <algorithm>

namespace {

/// One line with tabs between the cells. A name can hold any character: none of it may end the cell or act on a
/// terminal.
QString lineOf(QStringList cells)
{
    for (QString& cell : cells)
        std::replace_if(cell.begin(), cell.end(), isMisleading, QLatin1Char('?'));
    return cells.join(QLatin1Char('\t')) + QLatin1Char('\n');
}

/// Killing is asynchronous: the process may still be seen for a moment after the tool has ended.
bool waitUntilGone(const DeviceRecordManager& records, qint64 processId)
{
    const QDeadlineTimer deadline(5000);
    while (records.isProcessRunning(processId)) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(10);
    }
    return true;
}

} // namespace

ScriptResult listDevices(const DeviceRecordManager& records, bool json)
{
    const auto devices = records.restoreDevices();
    if (json) {
        QJsonArray list;
        for (const auto& device : devices)
            list.append(deviceJson(device));
        return {0, escapedJson(QJsonDocument(list)), {}};
    }
    QString lines;
    for (const auto& device : devices)
        lines += lineOf(restoredDeviceRow(device));
    return {0, lines, {}};
}

ScriptResult deleteDevice(const DeviceRecordManager& records, qint64 processId,
                          const std::function<KillCommand(qint64)>& toolFor)
{
    const auto devices = records.restoreDevices();
    const bool known = std::any_of(devices.begin(), devices.end(), [processId](const auto& device) {
        return device.running && device.record.processId == processId;
    });
    if (!known)
        return {2, {}, QStringLiteral("No device with process id %1 is running.\n").arg(processId)};
    if (!records.isDeviceProcess(processId))
        return {2, {}, QStringLiteral("Process %1 is another program now; its device has ended.\n").arg(processId)};

    const EndProcessResult result = endProcess(toolFor(processId));
    if (!result.finished)
        return {2, {}, QStringLiteral("Process termination timed out\n")};
    if (result.exitCode != 0)
        return {
            2,
            {},
            QStringLiteral("Failed to terminate process ID: %1\nError code: %2\n").arg(processId).arg(result.exitCode)};
    if (!waitUntilGone(records, processId))
        return {2, {}, QStringLiteral("Process %1 still runs.\n").arg(processId)};
    records.removeStaleRecords();
    return {};
}

ScriptResult deleteDevices(const DeviceRecordManager& records, const std::vector<qint64>& processIds,
                           const std::function<KillCommand(qint64)>& toolFor)
{
    ScriptResult all;
    for (const qint64 processId : processIds) {
        const ScriptResult one = deleteDevice(records, processId, toolFor);
        all.exitCode = std::max(all.exitCode, one.exitCode);
        all.error += one.error;
    }
    return all;
}

ScriptResult deleteAllDevices(const DeviceRecordManager& records, const std::function<KillCommand(qint64)>& toolFor)
{
    std::vector<qint64> processIds;
    const auto devices = records.restoreDevices();
    for (const auto& device : devices) {
        if (device.isDevice)
            processIds.push_back(device.record.processId);
    }
    return deleteDevices(records, processIds, toolFor);
}

ScriptResult sendCommand(qint64 processId, const QString& command)
{
    const CommandOutcome outcome = sendDeviceCommand(processId, command);
    const QString line = outcome.line + QLatin1Char('\n');
    return outcome.done ? ScriptResult{0, line, {}} : ScriptResult{2, {}, line};
}

ScriptResult sendCommands(qint64 processId, const std::function<std::optional<QString>()>& nextLine,
                          const std::function<bool(const QString&)>& print)
{
    int number = 0;
    while (const auto line = nextLine()) {
        ++number;
        if (line->isEmpty())
            continue;
        const CommandOutcome outcome = sendDeviceCommand(processId, *line);
        if (!outcome.done)
            return {kFailed, {}, QStringLiteral("Line %1: %2\n").arg(QString::number(number), outcome.line)};
        if (!print(outcome.line + QLatin1Char('\n')))
            return {kFailed, {}, {}};
    }
    return {};
}
