// main.cpp: the program's entry: window, or one command for a script.
#include "app/bus_driver_check.h"
#include "app/command_line.h"
#include "app/creation_slots.h"
#include "app/device_events.h"
#include "app/device_json.h"
#include "app/log.h"
#include "app/logged_output.h"
#include "app/main_window.h"
#include "app/script_commands.h"
#include "app/standard_streams.h"
#include "app/start_commands.h"
#include "app/startup_fetch.h"
#include "app/window_place.h"
#include "driver/platform/system_platform.h"
#include "runtime/program_run.h"
#include "runtime/start_options.h"
#include "runtime/stop_request.h"
#include "ui/chinese_font.h"
#include "ui/png.h"
#include "ui/screen_setup.h"

#include <QApplication>
#include <QDir>
#include <QTimer>

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

const QString kProgram = QStringLiteral("plugboard");
const QString kVersion = QStringLiteral(PLUGBOARD_VERSION);
constexpr int kFailure = 2; ///< exit code of everything that opens no window

/// False when the program must end: the user does not want the bus driver, or it could not be installed. Where the
/// system itself has a way to a host, that is what the check finds.
bool checkBusDriver(bool simulated)
{
    if (!simulated && findHostWay())
        return true;
    const QString folder = QCoreApplication::applicationDirPath();
    // From UTF-16: a path from a wide text is converted by the C locale here and there, which has no letters but ASCII.
    const std::filesystem::path path(folder.toStdU16String());
    const auto platform =
        simulated ? driver::simulatedPlatform(driver::simulatedTreeFile(path)) : driver::systemPlatform(path);
    LoggedOutput output;
    driver::BusDriverSetup setup(*platform, folder.toStdWString(), output);
    return ensureBusDriver(setup, simulated ? ElevatedDriver() : elevatedDriver());
}

int runWindow(const WindowRequest& request)
{
    const ProgramRun run(kProgram, kVersion, request.logRules);
    const Language language = speakAsAsked(request.language, *qApp);
    if (language == Language::SimplifiedChinese)
        preferSimplifiedChinese();
    QDir::setCurrent(QCoreApplication::applicationDirPath());
    QApplication::setWindowIcon(readPng(QStringLiteral(":/icons/res/logo.png")));
    if (!checkBusDriver(request.demo))
        return -1;

    MainWindow window;
    restorePlace(window);
    window.show();
    loadHostController(&window, [&window] { window.setHostWay(findHostWay()); });
    qCInfo(appLog).noquote() << "Main window shown in" << languageWord(language);
    const StartupFetch fetch(startupFetchUrl(QStringLiteral(STARTUP_FETCH_HOST)));
    invokeCreationSlots(&window, request.toCreate);
    const int result = QApplication::exec();
    rememberPlace(window);
    return result;
}

int runScript(const QString& logRules, const std::function<ScriptResult(const DeviceRecordManager&)>& command)
{
    const ProgramRun run(kProgram, kVersion, logRules);
    QDir::setCurrent(QCoreApplication::applicationDirPath());
    const ScriptResult result = command(DeviceRecordManager());
    const bool printed = printOut(result.output) && printError(result.error);
    return printed ? result.exitCode : kFailure; // a script must not take part of a list for the whole
}

/// Until the program is asked to end, or nobody reads any more.
int runWatch(const WatchRequest& request)
{
    constexpr int kPeriodMs = 250;
    StopRequest stopRequest; // before the log's crash handling, and before any thread
    const ProgramRun run(kProgram, kVersion, request.logRules);
    QDir::setCurrent(QCoreApplication::applicationDirPath());
    const DeviceRecordManager records;
    DeviceEvents events(records);
    QTimer timer;
    const auto look = [&events] {
        for (const QJsonObject& event : events.look()) {
            if (!printOut(jsonLine(event)))
                QCoreApplication::exit(kFailure);
        }
    };
    QObject::connect(&timer, &QTimer::timeout, look);
    QObject::connect(&stopRequest, &StopRequest::stopRequested, qApp, &QCoreApplication::quit);
    timer.start(kPeriodMs);
    QTimer::singleShot(0, qApp, look);
    return QCoreApplication::exec();
}

int print(const PrintRequest& request)
{
    const bool printed = (request.isError ? printError : printOut)(request.text);
    return printed && !request.isError ? 0 : kFailure;
}

/// Qt's own options are words behind a single dash, such as -platform.
bool hasOptionsOfQt(int argc, char** argv)
{
    return std::any_of(argv, argv + argc, [](const char* argument) {
        return argument[0] == '-' && argument[1] != '-' && std::strlen(argument) > 2;
    });
}

/// Which kind of application it will be depends on the arguments: a display must not be needed to ask for help. They
/// are read once, since standard input may be among what they name. Qt takes its own options out of the arguments of
/// the kind that has windows.
std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv, Request& request)
{
    const bool isForQt = hasOptionsOfQt(argc, argv);
    if (!isForQt) {
        const QCoreApplication reader(argc, argv);
        request = parseCommandLine(QCoreApplication::arguments());
    }
    if (!isForQt && !std::holds_alternative<WindowRequest>(request))
        return std::make_unique<QCoreApplication>(argc, argv);
    scaleWithScreens();
    paintWithoutOpenGl();
    auto application = std::make_unique<QApplication>(argc, argv);
    if (isForQt)
        request = parseCommandLine(QCoreApplication::arguments());
    return application;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication::setApplicationName(QStringLiteral("Plugboard"));
    QCoreApplication::setApplicationVersion(kVersion);
    Request request;
    const auto application = makeApplication(argc, argv, request);
    const QString folder = QDir::currentPath(); // of the user

    if (const auto* text = std::get_if<PrintRequest>(&request))
        return print(*text);
    if (const auto* list = std::get_if<ListRequest>(&request))
        return runScript(list->logRules, [list](const auto& records) { return listDevices(records, list->json); });
    if (const auto* removal = std::get_if<DeleteRequest>(&request))
        return runScript(removal->logRules, [removal](const auto& records) {
            return removal->processId ? deleteDevice(records, *removal->processId) : deleteAllDevices(records);
        });
    if (const auto* send = std::get_if<SendRequest>(&request))
        return runScript(send->logRules, [send, folder](const auto&) {
            const auto nextLine = [&folder] {
                const auto line = readInputLine();
                return line ? std::optional(commandFrom(*line, folder)) : std::nullopt;
            };
            return send->command.isEmpty() ? sendCommands(send->processId, nextLine, printOut)
                                           : sendCommand(send->processId, send->command);
        });
    if (const auto* start = std::get_if<StartRequest>(&request))
        return runScript(start->logRules,
                         [start](const auto& records) { return startDevice(*start, DeviceLauncher(), records); });
    if (const auto* lab = std::get_if<LabRequest>(&request))
        return runScript(lab->logRules,
                         [lab](const auto& records) { return startLab(*lab, DeviceLauncher(), records); });
    if (const auto* removal = std::get_if<DeleteLabRequest>(&request))
        return runScript(removal->logRules,
                         [removal](const auto& records) { return deleteLab(removal->lab, records); });
    if (const auto* watch = std::get_if<WatchRequest>(&request))
        return runWatch(*watch);
    return runWindow(std::get<WindowRequest>(request));
}
