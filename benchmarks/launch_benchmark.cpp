// links: plugboard::app plugboard::resources plugboard::translations
// launch_benchmark.cpp: CallUsbDaemon, row included, against the bare start of the same process.
#include "app/main_window.h"
#include "benchmarks/report.h"
#include "devices/parameter_list.h"
#include "devices/process_ender.h"

#include <QApplication>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

namespace {

void end(qint64 processId)
{
    endProcess(killCommand(processId));
    QCoreApplication::processEvents();
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const QTemporaryDir folder; // the device processes keep their records in their own folder
    const QString program = folder.filePath(QStringLiteral("usb-daemon.exe"));
    if (!QFile::copy(QCoreApplication::applicationDirPath() + QStringLiteral("/../bin/usb-daemon.exe"), program)) {
        std::fprintf(stderr, "the device process is not built\n");
        return 1;
    }

    MainWindowServices services;
    services.launcher = DeviceLauncher(folder.path());
    services.recordsFolder = folder.path();
    MainWindow window(nullptr, systemPrompter(), services);
    const QString parameters = joinParameters(keyboardParameterList());

    const auto ours = [&] {
        qint64 started = 0;
        const double time = millisecondsOf([&] {
            window.CallUsbDaemon(QStringLiteral("keyboard"), parameters,
                                 [&](qint64 processId) { started = processId; });
        });
        end(started);
        return time;
    };
    const auto peer = [&] {
        QProcess process;
        const double time = millisecondsOf([&] {
            process.start(program, {QStringLiteral("--mode"), QStringLiteral("Local")});
            process.waitForStarted();
        });
        process.kill();
        process.waitForFinished();
        return time;
    };
    const PairOfMedians medians = measureInTurn(41, ours, peer);
    report("launch", "ms", medians.ours, "bare process start", medians.peer, "peer + 3 ms");
    return 0;
}
