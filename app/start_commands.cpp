#include "app/start_commands.h"

#include "app/device_starts.h"
#include "runtime/shown_text.h"

#include <QJsonDocument>

#include <chrono>

namespace {

ScriptResult noDevice(const QString& sentence)
{
    return {kNoDevice, {}, sentence + QLatin1Char('\n')};
}

} // namespace

ScriptResult startDevice(const StartRequest& request, const DeviceLauncher& launcher,
                         const DeviceRecordManager& records)
{
    DeviceStarts starts(launcher, records);
    const QString fault = starts.start({request.device});
    if (!fault.isEmpty())
        return noDevice(fault);
    ScriptResult result;
    if (request.waitSeconds) {
        const DeviceStarts::WaitOutcome outcome =
            starts.waitForHosts(QDeadlineTimer(std::chrono::seconds(*request.waitSeconds)));
        if (outcome.state == DeviceStarts::Wait::Ended)
            return noDevice(outcome.sentence);
        if (outcome.state == DeviceStarts::Wait::TimeOver)
            result = {kTimeOver, {}, outcome.sentence + QLatin1Char('\n')};
    }
    result.output = escapedJson(QJsonDocument(starts.json().first().toObject()));
    return result;
}
