// device_record_manager.h: the records folder, where each device process keeps one file about itself.
#pragma once

#include "devices/device_record.h"
#include "devices/process_table.h"

#include <QObject>

#include <functional>
#include <optional>
#include <vector>

/// GUI thread only. Device processes write the files at the same time; one that is read half-written gives a default
/// record. Failures are warnings in the log, never boxes.
class DeviceRecordManager : public QObject
{
    Q_OBJECT

public:
    /// The folder is the application directory, taken once here.
    explicit DeviceRecordManager(QObject* parent = nullptr);

    /// Gives the time that a stopped record gets.
    using Clock = std::function<QDateTime()>;

    /// A folder, a snapshot and a clock of the caller's, for tests and tools.
    DeviceRecordManager(
        const QString& folder, TakeProcessSnapshot takeSnapshot, QObject* parent = nullptr,
        Clock now = [] { return QDateTime::currentDateTime(); });

    static constexpr int kMostRecords = 10'000;

    /// File names (not paths) of all records, in the order in which the file system returns them; the first 10,000 of
    /// more.
    QStringList listRecords() const;

    /// The record in that file; a default one when the file cannot be read, is larger than 1 MiB or holds no JSON
    /// object. A name with a separator in it is that of a file that cannot be read.
    DeviceRecord loadRecord(const QString& fileName) const;

    /// The record of that process; nothing while it has none that can be read.
    std::optional<DeviceRecord> recordOf(qint64 processId) const;

    /// Writes the record, whole or not at all, under the name made from its own device name and process id. A name that
    /// cannot be a file name in the folder (by the rules of Windows, on every system) fails as an unwritable file does.
    void saveRecord(const DeviceRecord& record) const;

    /// Deletes the records whose process does not run, with its sockets and what it left of a save; all with a process
    /// id of at least 1 when no snapshot can be taken. One snapshot serves them all.
    void removeStaleRecords() const;

    bool isProcessRunning(qint64 processId) const;

    /// Whether the process that has this id now runs the device program: the id in a record that was left behind may
    /// belong to another program by now.
    bool isDeviceProcess(qint64 processId) const;

    /// A record of a type that is known, whose running flag was set, and what became of its process.
    struct RestoredDevice
    {
        DeviceRecord record;
        bool running = false;
        bool isDevice = false; ///< it runs, and runs the device program
    };

    /// What a table refresh shows: removes the stale records and checks the others, as they were read for that, against
    /// one second snapshot. A record whose process ended between the two is saved as stopped and returned as not
    /// running.
    QList<RestoredDevice> restoreDevices() const;

    /// Of the records in these files, those that say they run, of a type that is known, whose process runs the device
    /// program. Nothing is removed or saved.
    QList<RestoredDevice> runningDevices(const QStringList& fileNames) const;

private:
    /// Reads every record once, deletes the stale ones and returns the others.
    std::vector<DeviceRecord> loadCurrentRecords() const;

    void removeLeftSavesOfRecords() const;

    /// Whether the file is gone.
    bool remove(const QString& fileName) const;

    QString pathOf(const QString& fileName) const;

    QString m_folder; ///< ends with "/"
    TakeProcessSnapshot m_takeSnapshot;
    Clock m_now;
};
