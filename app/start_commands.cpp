#include "app/start_commands.h"

#include "app/device_starts.h"
#include "runtime/shown_text.h"

#include <QJsonDocument>

#include <chrono>
#include <functional>

namespace {

ScriptResult noDevice(const QString& sentence)
{
    return {kNoDevice, {}, sentence + QLatin1Char('\n')};
}

/// Starts the devices and waits for hosts as long as it was asked to; `text` is what is printed of them.
ScriptResult startAll(const std::vector<CreationRequest>& devices, std::optional<int> waitSeconds,
                      const DeviceLauncher& launcher, const DeviceRecordManager& records,
                      const std::function<QString(const QJsonArray&)>& text)
{
    DeviceStarts starts(launcher, records);
    const QString fault = starts.start(devices);
    if (!fault.isEmpty())
        return noDevice(fault);
    ScriptResult result;
    if (waitSeconds) {
        const DeviceStarts::WaitOutcome outcome =
            starts.waitForHosts(QDeadlineTimer(std::chrono::seconds(*waitSeconds)));
        if (outcome.state == DeviceStarts::Wait::Ended)
            return noDevice(outcome.sentence);
        if (outcome.state == DeviceStarts::Wait::TimeOver)
            result = {kTimeOver, {}, outcome.sentence + QLatin1Char('\n')};
    }
    result.output = text(starts.json());
    return result;
}

/// The processes of the lab's devices that run.
std::vector<qint64> processesOf(const QString& lab, const DeviceRecordManager& records)
{
    std::vector<qint64> ids;
    const auto devices = records.restoreDevices();
    for (const auto& device : devices) {
        if (device.isDevice && device.record.lab == lab)
            ids.push_back(device.record.processId);
    }
    return ids;
}

} // namespace

ScriptResult startDevice(const StartRequest& request, const DeviceLauncher& launcher,
                         const DeviceRecordManager& records)
{
    return startAll({request.device}, request.waitSeconds, launcher, records,
                    [](const QJsonArray& devices) { return escapedJson(QJsonDocument(devices.first().toObject())); });
}

ScriptResult startLab(const LabRequest& request, const DeviceLauncher& launcher, const DeviceRecordManager& records)
{
    const auto running = processesOf(request.lab, records).size();
    if (running > 0)
        return {kFailed, {}, QStringLiteral("%1 device(s) of this lab run already.\n").arg(running)};
    qputenv(kLabVariable, request.lab.toLocal8Bit());
    return startAll(request.devices, request.waitSeconds, launcher, records,
                    [](const QJsonArray& devices) { return escapedJson(QJsonDocument(devices)); });
}

ScriptResult deleteLab(const QString& lab, const DeviceRecordManager& records)
{
    const std::vector<qint64> ids = processesOf(lab, records);
    if (ids.empty())
        return {kFailed, {}, QStringLiteral("No device of the lab %1 is running.\n").arg(shownText(lab))};
    return deleteDevices(records, ids);
}
