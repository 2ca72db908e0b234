#include "app/device_starts.h"

#include "app/device_json.h"
#include "devices/parameter_list.h"
#include "devices/process_ender.h"
#include "fido2/file/fido2_environment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>

namespace {

constexpr int kShortestTurnMs = 5;
constexpr int kLongestTurnMs = 100;
constexpr int kStartMs = 120000; // a process that fails ends at once, so only a hung one, or a busy machine, takes long
constexpr int kNodesMs = 5000;
constexpr int kEndMs = 1000;

/// Looks at `isDone` between turns of the event loop, each a tenth of the time that was waited so far: a look reads
/// files, and the devices need the processor. Whether it held before the time was over.
bool turnUntil(const std::function<bool()>& isDone, const QDeadlineTimer& deadline)
{
    QElapsedTimer waited;
    waited.start();
    while (!isDone()) {
        if (deadline.hasExpired())
            return false;
        QEventLoop turn;
        const qint64 length = std::clamp<qint64>(waited.elapsed() / 10, kShortestTurnMs, kLongestTurnMs);
        QTimer::singleShot(int(length), &turn, &QEventLoop::quit);
        turn.exec();
    }
    return true;
}

bool isConfigured(const DeviceRecord& record)
{
    return record.host[QStringLiteral("configured")].toBool();
}

/// Beginning of a node's name: the drivers of this type make at least one such node.
QString nodeOf(DeviceType type)
{
    switch (type) {
    case DeviceType::Keyboard:
    case DeviceType::Mouse:
        return QStringLiteral("/dev/input/event");
    case DeviceType::Fido2:
        return QStringLiteral("/dev/hidraw");
    case DeviceType::Storage:
        return QStringLiteral("/dev/sd");
    case DeviceType::Camera:
        return QStringLiteral("/dev/video");
    case DeviceType::Microphone:
    case DeviceType::Speaker:
        return QStringLiteral("/dev/snd/");
    case DeviceType::UsbIp:
        break;
    }
    return {};
}

bool hasItsNode(DeviceType type, const DeviceRecord& record)
{
    if (record.host[QStringLiteral("way")].toString() != QLatin1String("kernel") || nodeOf(type).isEmpty())
        return true;
    const QStringList nodes = nodesOf(record);
    return std::any_of(nodes.begin(), nodes.end(), [&](const QString& node) { return node.startsWith(nodeOf(type)); });
}

QString endSentence(DeviceType type, qint64 processId, const DeviceEnd& end)
{
    const QString how = end.isCrash ? QStringLiteral("crashed or was killed") : QStringLiteral("ended");
    const QString why = end.lastLine.isEmpty() ? QStringLiteral(".") : QStringLiteral(": ") + end.lastLine;
    return QStringLiteral("%1: The device process %2 %3 with exit code %4%5")
        .arg(deviceTypeWord(type), QString::number(processId), how, QString::number(end.exitCode), why);
}

} // namespace

DeviceStarts::DeviceStarts(const DeviceLauncher& launcher, const DeviceRecordManager& records)
    : m_launcher(launcher)
    , m_records(records)
{}

QString DeviceStarts::start(const std::vector<CreationRequest>& requests)
{
    QString fault;
    for (auto request = requests.begin(); request != requests.end() && fault.isEmpty(); ++request)
        fault = launch(*request);
    if (fault.isEmpty()) {
        const bool inTime = reach(Stage::Told, QDeadlineTimer(kStartMs));
        if (const Started* device = ended())
            fault = endSentence(device->type, device->processId, *device->end);
        else if (!inTime)
            fault = QStringLiteral("A device process has not come up within %1 s.").arg(kStartMs / 1000);
    }
    if (!fault.isEmpty())
        endAll();
    return fault;
}

QString DeviceStarts::launch(const CreationRequest& request)
{
    if (request.type == DeviceType::Fido2)
        QDir().mkpath(Fido2Environment::ofThisProgram().directory());
    auto started = std::make_shared<Started>();
    started->type = request.type;
    const auto ended = [started](const DeviceEnd& end) { started->end = end; };
    started->processId = request.parameters.isEmpty()
                             ? m_launcher.launchBare(ended)
                             : m_launcher.launch(joinParameters(request.parameters), ended).value_or(0);
    if (started->processId == 0)
        return QStringLiteral("%1: The device process %2 does not start%3")
            .arg(deviceTypeWord(request.type), deviceProgramName(),
                 m_launcher.hasProgram() ? QStringLiteral(".") : QStringLiteral("; it is missing."));
    m_started.push_back(std::move(started));
    return {};
}

void DeviceStarts::look(Started& device, Stage wanted) const
{
    if (auto record = m_records.recordOf(device.processId))
        device.record = std::move(record);
    if (!device.record)
        return;
    device.stage = isConfigured(*device.record) ? Stage::Configured : Stage::Told;
    if (wanted == Stage::Usable && device.stage == Stage::Configured && hasItsNode(device.type, *device.record))
        device.stage = Stage::Usable;
}

/// Only at those that are not there yet: a look takes time which the devices need.
bool DeviceStarts::reach(Stage wanted, const QDeadlineTimer& deadline)
{
    const auto haveReached = [&] {
        bool all = true;
        for (const auto& device : m_started) {
            if (device->stage < wanted)
                look(*device, wanted);
            all = all && device->stage >= wanted;
        }
        return all || ended();
    };
    return turnUntil(haveReached, deadline);
}

const DeviceStarts::Started* DeviceStarts::ended() const
{
    const auto found = std::find_if(m_started.begin(), m_started.end(), [](const auto& device) { return device->end; });
    return found == m_started.end() ? nullptr : found->get();
}

void DeviceStarts::endAll()
{
    const auto haveEnded = [this] {
        return std::all_of(m_started.begin(), m_started.end(), [](const auto& device) { return device->end; });
    };
    const QDeadlineTimer deadline(kStartMs);
    do { // a busy machine may not run the tool in time
        for (const auto& device : m_started) {
            if (!device->end)
                endProcess(killCommand(device->processId));
        }
    } while (!turnUntil(haveEnded, QDeadlineTimer(kEndMs)) && !deadline.hasExpired());
    m_records.removeStaleRecords();
}

DeviceStarts::WaitOutcome DeviceStarts::waitForHosts(QDeadlineTimer deadline)
{
    if (reach(Stage::Configured, deadline)) {
        // The drivers come after the configuration, that of a disk after a second. A host may have none.
        const qint64 left = deadline.isForever() ? kNodesMs : std::min<qint64>(deadline.remainingTime(), kNodesMs);
        reach(Stage::Usable, QDeadlineTimer(left));
    }
    for (const auto& device : m_started) // the first of them may have lost its host meanwhile
        look(*device, Stage::Configured);
    if (const Started* device = ended())
        return {Wait::Ended, endSentence(device->type, device->processId, *device->end)};
    for (const auto& device : m_started) {
        if (device->stage < Stage::Configured)
            return {Wait::TimeOver, QStringLiteral("%1: No host has configured the device in time; process %2 goes on.")
                                        .arg(deviceTypeWord(device->type))
                                        .arg(device->processId)};
    }
    return {};
}

QJsonArray DeviceStarts::json() const
{
    QJsonArray devices;
    for (const auto& device : m_started)
        devices.append(deviceJson({*device->record, !device->end, !device->end}));
    return devices;
}
