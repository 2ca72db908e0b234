// plugboard-media: runs a source through the media chains.
#include "driver/device_interfaces.h"
#include "driver/platform/system_platform.h"
#include "media/control/cmd_map.h"
#include "media/debug_commands.h"
#include "media/media_reader.h"
#include "runtime/program_run.h"
#include "tools/media/file_run.h"
#include "tools/media/interrupt.h"
#include "tools/media/media_options.h"
#include "tools/media/picture_window.h"
#include "ui/screen_setup.h"

#include <QApplication>

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <thread>

namespace {

const QString kProgram = QStringLiteral("plugboard-media");
const QString kVersion = QStringLiteral(PLUGBOARD_VERSION);
constexpr int kPollMilliseconds = 50;
constexpr int kStoppedExit = 130;

int failed(const QString& text)
{
    std::fprintf(stderr, "plugboard-media: %s\n", qUtf8Printable(text));
    return 1;
}

VideoFileSettings windowSettings(const MediaOptions& options)
{
    VideoFileSettings settings;
    settings.url = options.source.toStdString();
    settings.selector = kSelectBoth;
    settings.width = options.width;
    settings.height = options.height;
    settings.frameRate = options.rate;
    settings.scaling.serverName = options.server;
    settings.scaling.appliesPlacement = true;
    return settings;
}

int showWindow(QApplication& application, const MediaOptions& options)
{
    PictureWindow window(windowSettings(options));
    QString end;
    QObject::connect(&window, &PictureWindow::ended, &application, [&](const QString& reason) {
        end = reason;
        application.quit();
    });
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &application, [&] {
        if (interrupted())
            application.exit();
    });
    poll.start(kPollMilliseconds);
    if (options.seconds > 0)
        QTimer::singleShot(options.seconds * 1000, &application, &QCoreApplication::quit);
    window.show();
    QApplication::exec();
    if (!end.isEmpty())
        failed(QStringLiteral("playing has ended (%1)").arg(end));
    else if (window.shownPictures() == 0 && options.seconds > 0)
        failed(QStringLiteral("no picture came (%1)").arg(QString::fromStdString(window.status().reason)));
    else if (options.snapshot.isEmpty() || window.picture().save(options.snapshot))
        return 0;
    else
        failed(QStringLiteral("cannot write '%1'").arg(options.snapshot));
    return 1;
}

/// The command runs beside the event loop, which serves the command server meanwhile.
int runCommand(QCoreApplication& application, const MediaOptions& options)
{
    TestAvArguments testAv{options.source.isEmpty() ? "test.mp4" : options.source.toStdString(), &interrupted()};
    ResetArguments reset;
    const std::filesystem::path folder = QCoreApplication::applicationDirPath().toStdU16String();
    reset.paths = [folder](const std::wstring&, std::size_t) {
        const auto platform = driver::systemPlatform(folder);
        return driver::devicePaths(*platform, driver::kHostControllerInterface);
    };
    void* arguments = nullptr;
    if (options.command == QLatin1String("TestAv"))
        arguments = &testAv;
    else if (options.command == QLatin1String("Reset"))
        arguments = &reset;
    std::optional<std::int32_t> result;
    std::thread worker([&] {
        result = CmdMap::instance().run(options.command.toStdString(), arguments, nullptr);
        QMetaObject::invokeMethod(&application, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    QCoreApplication::exec();
    worker.join();
    if (!result)
        return failed(QStringLiteral("there is no command '%1'").arg(options.command));
    if (interrupted())
        return kStoppedExit;
    return *result == 0 ? 0 : failed(QStringLiteral("the command '%1' failed").arg(options.command));
}

} // namespace

int main(int argc, char** argv)
{
    // Which kind of application it will be depends on the arguments; only an application has them whole on Windows.
    const MediaOptions options = [&] {
        const QCoreApplication reader(argc, argv);
        return parseMediaOptions(QCoreApplication::arguments());
    }();
    if (options.run == MediaOptions::Run::Text) {
        std::fputs(qUtf8Printable(options.text), options.exitCode == 0 ? stdout : stderr);
        return options.exitCode;
    }
    av_log_set_level(options.verbose ? AV_LOG_VERBOSE : AV_LOG_FATAL);
    catchInterrupts();
    if (options.run == MediaOptions::Run::Window) {
        scaleWithScreens();
        paintWithoutOpenGl();
        QApplication application(argc, argv);
        const ProgramRun run(kProgram, kVersion, options.logRules);
        return showWindow(application, options);
    }
    QCoreApplication application(argc, argv);
    const ProgramRun run(kProgram, kVersion, options.logRules);
    if (options.json)
        std::cout.rdbuf(std::cerr.rdbuf());
    return options.run == MediaOptions::Run::Command ? runCommand(application, options) : runToFile(options);
}
