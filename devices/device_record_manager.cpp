#include "devices/device_record_manager.h"

#include "devices/device_type.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QSaveFile>

#include <algorithm>
#include <utility>

namespace {

/// Bytes; a larger file is no record.
constexpr qint64 kRecordSizeLimit = 1024 * 1024;

bool containsAny(const QString& name, const QString& characters)
{
    return std::any_of(name.begin(), name.end(), [&](QChar c) { return c.isNull() || characters.contains(c); });
}

/// No name from a table or a record may lead out of the folder.
bool leavesFolder(const QString& fileName)
{
    return containsAny(fileName, QStringLiteral("/\\"));
}

/// The rule of Windows on every system, so that the same names fail everywhere.
bool isWritableName(const QString& fileName)
{
    const bool control = std::any_of(fileName.begin(), fileName.end(), [](QChar c) { return c < QLatin1Char(' '); });
    return !control && !containsAny(fileName, QStringLiteral("/\\:*?\"<>|"));
}

/// Not truncated before it is written: overwriting needs no new room, so a full disk seldom costs the old content.
bool writeInPlace(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::ReadWrite) && file.write(bytes) == bytes.size() && file.flush() &&
           file.resize(bytes.size());
}

/// In place only where no new file can be made beside the old one, or where it cannot replace the old one.
bool writeWhole(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(bytes);
        if (file.commit())
            return true;
        if (file.error() != QFileDevice::RenameError)
            return false;
    }
    return writeInPlace(path, bytes);
}

void warn(const char* what, const QString& path)
{
    qWarning().noquote() << what << path;
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
    return QDir(m_folder).entryList({QStringLiteral("device_*.json")}, QDir::Files | QDir::CaseSensitive,
                                    QDir::Unsorted);
}

DeviceRecord DeviceRecordManager::loadRecord(const QString& fileName) const
{
    QFile file(pathOf(fileName));
    if (leavesFolder(fileName) || !file.open(QIODevice::ReadOnly)) {
        warn("Failed to load device record from:", pathOf(fileName));
        return {};
    }
    const QByteArray json = file.read(kRecordSizeLimit + 1);
    return json.size() > kRecordSizeLimit ? DeviceRecord() : parseDeviceRecord(json);
}

void DeviceRecordManager::saveRecord(const DeviceRecord& record) const
{
    const QString fileName = deviceRecordFileName(record);
    if (!isWritableName(fileName) || !writeWhole(pathOf(fileName), serializeDeviceRecord(record)))
        warn("Failed to save device record to:", pathOf(fileName));
}

void DeviceRecordManager::removeStaleRecords() const
{
    std::vector<std::pair<QString, qint64>> records;
    const QStringList fileNames = listRecords();
    for (const QString& fileName : fileNames) {
        const qint64 processId = loadRecord(fileName).processId;
        if (processId >= 1)
            records.emplace_back(fileName, processId);
    }
    if (records.empty())
        return;
    // Taken after all are read: a process whose record was there to be read is in it unless it ended.
    const ProcessSnapshot snapshot = m_takeSnapshot();
    for (const auto& [fileName, processId] : records) {
        if (!snapshot.contains(processId) && !QFile::remove(pathOf(fileName)))
            warn("Failed to delete device record:", pathOf(fileName));
    }
}

bool DeviceRecordManager::isProcessRunning(qint64 processId) const
{
    return m_takeSnapshot().contains(processId);
}

QList<DeviceRecordManager::RestoredDevice> DeviceRecordManager::restoreDevices() const
{
    removeStaleRecords();
    QList<RestoredDevice> devices;
    const QStringList fileNames = listRecords();
    for (const QString& fileName : fileNames) {
        const DeviceRecord record = loadRecord(fileName);
        if (record.isRunning && deviceTypeFromRecordCode(record.deviceType))
            devices.append({record, true});
    }
    if (devices.isEmpty())
        return devices;
    const ProcessSnapshot snapshot = m_takeSnapshot();
    for (RestoredDevice& device : devices) {
        if (snapshot.contains(device.record.processId))
            continue;
        device.running = false;
        device.record.isRunning = false;
        device.record.lastUpdateTime = m_now();
        saveRecord(device.record);
    }
    return devices;
}

QString DeviceRecordManager::pathOf(const QString& fileName) const
{
    return m_folder + fileName;
}
