// links: plugboard::app plugboard::resources plugboard::translations
// record_refresh_benchmark.cpp: a refresh of the device table over 1,000 records of devices that run, for each device
// type in turn; the figures are the slowest type's time, and the memory of the program after all of them.
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

void saveRecords(const QString& folder, DeviceType type)
{
    const DeviceRecordManager records(folder, nullptr);
    for (int i = 0; i < kRecords; ++i) {
        DeviceRecord record;
        record.deviceType = static_cast<int>(type);
        record.deviceName = QStringLiteral("Device %1").arg(i);
        record.processId = QCoreApplication::applicationPid(); // one that surely runs
        record.publicParams = QStringList{QStringLiteral("5"), QStringLiteral("1d6b"), QStringLiteral("0002")};
        record.isRunning = true;
        records.saveRecord(record);
    }
}

/// The system's list is read, and then says that this process is a device.
ProcessSnapshot takeSnapshot()
{
    static_cast<void>(ProcessSnapshot::take());
    return ProcessSnapshot({static_cast<std::uint32_t>(QCoreApplication::applicationPid())}, deviceProgramName());
}

/// Median of a refresh in milliseconds; below 0 when it does not show all. The rows are painted between two.
double refreshTime(DeviceType type)
{
    const QTemporaryDir folder;
    saveRecords(folder.path(), type);
    MainWindowServices services;
    services.recordsFolder = folder.path();
    services.takeSnapshot = takeSnapshot;
    MainWindow window(nullptr, systemPrompter(), services);
    window.show();
    std::vector<double> figures;
    for (int round = 0; round < 11; ++round) {
        QCoreApplication::processEvents();
        figures.push_back(millisecondsOf([&window] { window.refreshDevices(); }));
    }
    return window.deviceTable().rowCount() == kRecords ? median(figures) : -1;
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

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    // No security key answers here, and each one that does not is a line in the log.
    QLoggingCategory::setFilterRules(QStringLiteral("plugboard.*.info=false"));
    double slowest = 0;
    for (int code = 1; const auto type = deviceTypeFromRecordCode(code); ++code) {
        const double time = refreshTime(*type);
        if (time < 0) {
            std::fprintf(stderr, "not all records have a row\n");
            return 1;
        }
        slowest = std::max(slowest, time);
    }
    report("record_refresh", "ms", slowest, nullptr, kNoPeer, "100 ms");
    report("record_refresh memory", "MB", ownMemory(), nullptr, kNoPeer, "80 MB");
    return 0;
}
