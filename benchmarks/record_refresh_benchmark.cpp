// links: plugboard::app plugboard::resources plugboard::translations
// record_refresh_benchmark.cpp: a refresh of the device table over 1,000 records of devices that run, each in a process
// of its own, for each device type in turn; the figures are the slowest type's time, and the memory of the program at
// most, while a window shows them.
#include "app/device_table.h"
#include "app/main_window.h"
#include "benchmarks/report.h"
#include "devices/device_record_manager.h"
#include "devices/device_type.h"

#include <QApplication>
#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <limits>

namespace {

constexpr int kRecords = 1000;
constexpr double kNoPeer = std::numeric_limits<double>::quiet_NaN();

bool saveRecords(const QString& folder, DeviceType type)
{
    for (int i = 1; i <= kRecords; ++i) {
        DeviceRecord record;
        record.deviceType = static_cast<int>(type);
        record.deviceName = QStringLiteral("Device %1").arg(i);
        record.processId = i;
        record.publicParams = QStringList{QStringLiteral("5"), QStringLiteral("1d6b"), QStringLiteral("0002")};
        record.isRunning = true;
        QFile file(folder + QLatin1Char('/') + deviceRecordFileName(record));
        if (!file.open(QIODevice::WriteOnly) || file.write(serializeDeviceRecord(record)) < 0)
            return false;
    }
    return true;
}

/// The system's list is read, and then says that all of them run.
ProcessSnapshot takeSnapshot()
{
    static_cast<void>(ProcessSnapshot::take());
    std::vector<std::uint32_t> ids;
    for (std::uint32_t id = 1; id <= kRecords; ++id)
        ids.push_back(id);
    return ProcessSnapshot(ids, deviceProgramName());
}

/// Of what is resident, the part that is no other program's or file's, in MB (Linux); nothing elsewhere.
double ownMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return kNoPeer;
    const QByteArray text = status.readAll();
    const int at = text.indexOf("RssAnon:");
    return at < 0 ? kNoPeer : text.mid(at + 8).trimmed().split(' ').first().toDouble() / 1000;
}

struct Figures
{
    double milliseconds = -1; ///< median of a refresh; below 0 when it does not show all
    double megabytes = 0;     ///< at most
};

/// The rows are painted between two refreshes, and what was given up is destroyed, as an event loop does.
Figures refresh(DeviceType type)
{
    const QTemporaryDir folder;
    if (!saveRecords(folder.path(), type))
        return {};
    MainWindowServices services;
    services.recordsFolder = folder.path();
    services.takeSnapshot = takeSnapshot;
    MainWindow window(nullptr, systemPrompter(), services);
    window.show();
    std::vector<double> times;
    Figures figures;
    for (int round = 0; round < 11; ++round) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        times.push_back(millisecondsOf([&window] { window.refreshDevices(); }));
        figures.megabytes = std::max(figures.megabytes, ownMemory());
    }
    figures.milliseconds = window.deviceTable().rowCount() == kRecords ? median(times) : -1;
    return figures;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    // No security key answers here, and each one that does not is a line in the log.
    QLoggingCategory::setFilterRules(QStringLiteral("plugboard.*.info=false"));
    Figures most;
    for (int code = 1; const auto type = deviceTypeFromRecordCode(code); ++code) {
        const Figures figures = refresh(*type);
        if (figures.milliseconds < 0) {
            std::fprintf(stderr, "not all records have a row\n");
            return 1;
        }
        most = {std::max(most.milliseconds, figures.milliseconds), std::max(most.megabytes, figures.megabytes)};
    }
    report("record_refresh", "ms", most.milliseconds, nullptr, kNoPeer, "100 ms");
    report("record_refresh memory", "MB", most.megabytes, nullptr, kNoPeer, "80 MB");
    return 0;
}
