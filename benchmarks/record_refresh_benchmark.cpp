// links: plugboard::app
// record_refresh_benchmark.cpp: a refresh of the device table over 1,000 records of devices that run.
#include "app/device_table.h"
#include "app/main_window.h"
#include "benchmarks/report.h"
#include "devices/device_record_manager.h"
#include "devices/device_type.h"

#include <QApplication>
#include <QTemporaryDir>

#include <limits>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    constexpr int kRecords = 1000;

    const QTemporaryDir folder;
    const DeviceRecordManager records(folder.path(), nullptr);
    for (int i = 0; i < kRecords; ++i) {
        DeviceRecord record;
        record.deviceType = 1 + i % 8;
        record.deviceName = QStringLiteral("Device %1").arg(i);
        record.processId = QCoreApplication::applicationPid(); // one that surely runs
        record.publicParams = QStringList{QStringLiteral("5"), QStringLiteral("1d6b"), QStringLiteral("0002")};
        record.isRunning = true;
        records.saveRecord(record);
    }

    MainWindowServices services;
    services.recordsFolder = folder.path();
    MainWindow window(nullptr, systemPrompter(), services);
    window.show();
    std::vector<double> figures;
    for (int round = 0; round < 15; ++round)
        figures.push_back(millisecondsOf([&window] { window.refreshDevices(); }));
    if (window.deviceTable().rowCount() != kRecords) {
        std::fprintf(stderr, "%d rows, not %d\n", window.deviceTable().rowCount(), kRecords);
        return 1;
    }
    report("record_refresh", "ms", median(figures), nullptr, std::numeric_limits<double>::quiet_NaN(), "100 ms");
    return 0;
}
