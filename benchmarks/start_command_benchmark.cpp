// links: plugboard::devices plugboard::resources
// start_command_benchmark.cpp: `plugboard --start keyboard`, until it has printed the device and ended, against the
// start of the same device process until it has said what it is.
#include "benchmarks/report.h"
#include "devices/device_launcher.h"
#include "devices/device_record_manager.h"
#include "devices/parameter_list.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

namespace {

/// Ends the devices of the folder, whose records go with them.
void endAll(const DeviceRecordManager& records)
{
    for (const auto& device : records.restoreDevices()) {
        const KillCommand kill = killCommand(device.record.processId);
        QProcess::execute(kill.program, kill.arguments);
    }
    while (!records.listRecords().isEmpty()) {
        QThread::msleep(5);
        QCoreApplication::processEvents();
        records.removeStaleRecords();
    }
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("PLUGBOARD_HOST", "server");
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder; // of programs, beside which their records lie
    for (const char* program : {"plugboard", "usb-daemon.exe"}) {
        const QString name = QString::fromLatin1(program);
        if (!QFile::copy(QCoreApplication::applicationDirPath() + QStringLiteral("/../bin/") + name,
                         folder.filePath(name))) {
            std::fprintf(stderr, "%s is not built\n", program);
            return 1;
        }
    }
    qputenv("PLUGBOARD_USER_DATA", folder.filePath(QStringLiteral("user")).toLocal8Bit());
    const DeviceLauncher launcher(folder.path());
    const DeviceRecordManager records(folder.path(), &ProcessSnapshot::take);

    const auto ours = [&] {
        QProcess start;
        const double time = millisecondsOf([&] {
            start.start(folder.filePath(QStringLiteral("plugboard")),
                        {QStringLiteral("--start"), QStringLiteral("keyboard")});
            start.waitForFinished();
        });
        endAll(records);
        return time;
    };
    const auto peer = [&] {
        const double time = millisecondsOf([&] {
            const qint64 processId = launcher.launch(joinParameters(keyboardParameterList())).value_or(0);
            while (!records.recordOf(processId))
                QThread::usleep(500);
        });
        endAll(records);
        return time;
    };
    const PairOfMedians medians = measureInTurn(41, ours, peer);
    report("start_command", "ms", medians.ours, "device process alone", medians.peer, "peer + 30 ms");
    return 0;
}
