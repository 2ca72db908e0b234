#include "devices/device_record_manager.h"

#include "devices/device_launcher.h"
#include "devices/device_type.h"
#include "devices/log.h"
#include "runtime/local_peer.h"
#include "runtime/whole_file.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

/// Bytes; a larger file is no record.
constexpr qint64 kRecordSizeLimit = 1024 * 1024;

/// No name from a table or a record may lead out of the folder.
bool leavesFolder(const QString& fileName)
{
    const QString refused = QStringLiteral("/\\");
    return std::any_of(fileName.begin(), fileName.end(), [&](QChar c) { return c.isNull() || refused.contains(c); });
}

/// A record without a process id says nothing of a process that could have ended.
bool mayBeStale(const DeviceRecord& record)
{
    return record.processId >= 1;
}

void warn(const char* what, const QString& path)
{
    qCWarning(devicesLog).noquote() << what << path;
}

} // namespace

DeviceRecordManager::DeviceRecordManager(QObject* parent)
    : DeviceRecordManager(QCoreApplication::applicationDirPath(), &ProcessSnapshot::take, parent)
{}

DeviceRecordManager::DeviceRecordManager(const QString& folder, TakeProcessSnapshot takeSnapshot, QObject* parent,
                                         Clock now)
    : QObject(parent)
    , m_folder(folder)
    , m_takeSnapshot(std::move(takeSnapshot))
    , m_now(std::move(now))
{
    if (!m_folder.endsWith(QLatin1Char('/')))
        m_folder += QLatin1Char('/');
}

QStringList DeviceRecordManager::listRecords() const
{
    return QDir(m_folder)
        .entryList({QStringLiteral("device_*.json")}, QDir::Files | QDir::CaseSensitive, QDir::Unsorted)
        .mid(0, kMostRecords);
}

DeviceRecord DeviceRecordManager::loadRecord(const QString& fileName) const
{
    QFile file(pathOf(fileName));
    // Opening a named pipe, which a listed link can lead to, would wait for a writer.
    if (leavesFolder(fileName) || !QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly)) {
        warn("Failed to load device record from:", pathOf(fileName));
        return {};
    }
    const QByteArray json = file.read(kRecordSizeLimit + 1);
    return json.size() > kRecordSizeLimit ? DeviceRecord() : parseDeviceRecord(json);
}

std::optional<DeviceRecord> DeviceRecordManager::recordOf(qint64 processId) const
{
    // Without a name filter, which is a regular expression that is compiled for each call: who starts devices asks
    // often.
    const QString end = QStringLiteral("_%1.json").arg(processId);
    for (QDirIterator files(m_folder, QDir::Files); files.hasNext();) {
        files.next();
        const QString file = files.fileName();
        if (!file.startsWith(QLatin1String("device_")) || !file.endsWith(end))
            continue;
        DeviceRecord record = loadRecord(file);
        if (record.processId == processId)
            return record;
    }
    return std::nullopt;
}

void DeviceRecordManager::saveRecord(const DeviceRecord& record) const
{
    const QString fileName = deviceRecordFileName(record);
    if (!canBeFileName(fileName) || !writeWholeFile(pathOf(fileName), serializeDeviceRecord(record)).isEmpty())
        warn("Failed to save device record to:", pathOf(fileName));
}

void DeviceRecordManager::removeStaleRecords() const
{
    loadCurrentRecords();
}

std::vector<DeviceRecord> DeviceRecordManager::loadCurrentRecords() const
{
    removeLeftSavesOfRecords();
    const QStringList fileNames = listRecords();
    if (fileNames.size() == kMostRecords)
        qCWarning(devicesLog) << "No more than" << kMostRecords << "device records are listed";
    std::vector<DeviceRecord> loaded;
    for (const QString& fileName : fileNames)
        loaded.push_back(loadRecord(fileName));
    if (std::none_of(loaded.begin(), loaded.end(), mayBeStale))
        return loaded;

    // Taken after all are read: a process whose record was there to be read is in it unless it ended.
    const ProcessSnapshot snapshot = m_takeSnapshot();
    std::vector<DeviceRecord> current;
    for (std::size_t i = 0; i < loaded.size(); ++i) {
        const QString& fileName = fileNames[static_cast<int>(i)];
        if (!mayBeStale(loaded[i]) || snapshot.contains(loaded[i].processId) || !remove(fileName)) {
            current.push_back(std::move(loaded[i]));
        } else {
            qCInfo(devicesLog).noquote() << "Record removed, its process has ended:" << fileName;
            if (snapshot.valid()) // else it may run
                removeLeftSockets(loaded[i].processId);
        }
    }
    return current;
}

void DeviceRecordManager::removeLeftSavesOfRecords() const
{
    const QStringList saves = QDir(m_folder).entryList({QStringLiteral("device_*.json.??????")},
                                                       QDir::Files | QDir::CaseSensitive, QDir::Unsorted);
    for (const QString& save : saves)
        removeLeftSaves(pathOf(save.left(save.lastIndexOf(QLatin1Char('.')))));
}

bool DeviceRecordManager::remove(const QString& fileName) const
{
    if (QFile::remove(pathOf(fileName)))
        return true;
    warn("Failed to delete device record:", pathOf(fileName));
    return !QFile::exists(pathOf(fileName));
}

bool DeviceRecordManager::isProcessRunning(qint64 processId) const
{
    return m_takeSnapshot().contains(processId);
}

bool DeviceRecordManager::isDeviceProcess(qint64 processId) const
{
    return m_takeSnapshot().runsProgram(processId, deviceProgramName());
}

QList<DeviceRecordManager::RestoredDevice> DeviceRecordManager::restoreDevices() const
{
    QList<RestoredDevice> devices;
    for (const DeviceRecord& record : loadCurrentRecords()) {
        if (record.isRunning && deviceTypeFromRecordCode(record.deviceType))
            devices.append({record, true, true});
    }
    if (devices.isEmpty())
        return devices;
    const ProcessSnapshot snapshot = m_takeSnapshot();
    for (RestoredDevice& device : devices) {
        device.isDevice = snapshot.runsProgram(device.record.processId, deviceProgramName());
        if (snapshot.contains(device.record.processId))
            continue;
        device.running = false;
        device.record.isRunning = false;
        device.record.lastUpdateTime = m_now();
        saveRecord(device.record);
    }
    return devices;
}

QList<DeviceRecordManager::RestoredDevice> DeviceRecordManager::runningDevices(const QStringList& fileNames) const
{
    QList<RestoredDevice> devices;
    const ProcessSnapshot snapshot = m_takeSnapshot();
    for (const QString& fileName : fileNames) {
        const DeviceRecord record = loadRecord(fileName);
        if (record.isRunning && deviceTypeFromRecordCode(record.deviceType) &&
            snapshot.runsProgram(record.processId, deviceProgramName()))
            devices.append({record, true, true});
    }
    return devices;
}

QString DeviceRecordManager::pathOf(const QString& fileName) const
{
    return m_folder + fileName;
}
