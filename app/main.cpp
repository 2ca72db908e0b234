// main.cpp: the program's entry: window, or one command for a script.
#include "app/bus_driver_check.h"
#include "app/command_line.h"
#include "app/creation_slots.h"
#include "app/log.h"
#include "app/main_window.h"
#include "app/script_commands.h"
#include "app/standard_streams.h"
#include "app/startup_fetch.h"
#include "driver/platform/system_platform.h"
#include "runtime/program_run.h"
#include "runtime/start_options.h"
#include "ui/chinese_font.h"

#include <QApplication>
#include <QDir>
#include <QIcon>

namespace {

const QString kProgram = QStringLiteral("plugboard");
const QString kVersion = QStringLiteral(PLUGBOARD_VERSION);
constexpr int kFailure = 2; ///< exit code of everything that opens no window

/// False when the program must end: the user does not want the bus driver, or it could not be installed.
bool checkBusDriver(bool simulated)
{
    const QString folder = QCoreApplication::applicationDirPath();
    // From UTF-16: a path from a wide text is converted by the C locale here and there, which has no letters but ASCII.
    const std::filesystem::path path(folder.toStdU16String());
    const auto platform =
        simulated ? driver::simulatedPlatform(driver::simulatedTreeFile(path)) : driver::systemPlatform(path);
    driver::BusDriverSetup setup(*platform, folder.toStdWString());
    return ensureBusDriver(setup, simulated ? ElevatedDriver() : elevatedDriver());
}

int runWindow(int argc, char** argv, const WindowRequest& request)
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication application(argc, argv);
    const ProgramRun run(kProgram, kVersion, request.logRules);
    const Language language = speakAsAsked(request.language, application);
    if (language == Language::SimplifiedChinese)
        preferSimplifiedChinese();
    QDir::setCurrent(QCoreApplication::applicationDirPath());
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/res/logo.png")));
    if (!checkBusDriver(request.demo))
        return -1;

    MainWindow window;
    window.show();
    qCInfo(appLog).noquote() << "Main window shown in" << languageWord(language);
    const StartupFetch fetch(startupFetchUrl(QStringLiteral(STARTUP_FETCH_HOST)));
    invokeCreationSlots(&window, request.toCreate);
    return QApplication::exec();
}

int runScript(int argc, char** argv, const QString& logRules,
              const std::function<ScriptResult(const DeviceRecordManager&)>& command)
{
    const QCoreApplication application(argc, argv);
    const ProgramRun run(kProgram, kVersion, logRules);
    QDir::setCurrent(QCoreApplication::applicationDirPath());
    const ScriptResult result = command(DeviceRecordManager());
    const bool printed = printOut(result.output) && printError(result.error);
    return printed ? result.exitCode : kFailure; // a script must not take part of a list for the whole
}

int print(const PrintRequest& request)
{
    const bool printed = (request.isError ? printError : printOut)(request.text);
    return printed && !request.isError ? 0 : kFailure;
}

/// An application object of its own: a display must not be needed to ask for help.
Request readCommandLine(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    return parseCommandLine(QCoreApplication::arguments());
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication::setApplicationName(QStringLiteral("Plugboard"));
    QCoreApplication::setApplicationVersion(kVersion);
    const Request request = readCommandLine(argc, argv);

    if (const auto* text = std::get_if<PrintRequest>(&request))
        return print(*text);
    if (const auto* list = std::get_if<ListRequest>(&request))
        return runScript(argc, argv, list->logRules,
                         [list](const auto& records) { return listDevices(records, list->json); });
    if (const auto* removal = std::get_if<DeleteRequest>(&request))
        return runScript(argc, argv, removal->logRules,
                         [removal](const auto& records) { return deleteDevice(records, removal->processId); });
    return runWindow(argc, argv, std::get<WindowRequest>(request));
}
