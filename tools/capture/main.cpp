#include "runtime/program_run.h"
#include "runtime/start_options.h"
#include "tools/capture/capture_window.h"
#include "tools/capture/headless_capture.h"
#include "ui/chinese_font.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>
#include <type_traits>

namespace {

constexpr int kUsageError = 3;

struct Options
{
    qint64 processId = 0;
    uint32_t deviceId = 0;
    double headlessSeconds = 0; ///< 0 asks for the window
    StartOptions start;
};

/// Nothing when a text was asked for or the arguments make no sense; it has been printed, and `exitCode` is set. (The
/// parser's own printing shows a box where Windows gives the program no console.)
std::optional<Options> parseOptions(int& exitCode)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Watches the USB traffic of one virtual device."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("PID"), QStringLiteral("Process id of the device process."));
    const QCommandLineOption device(QStringLiteral("device"), QStringLiteral("USB/IP device id (default 0)."),
                                    QStringLiteral("ID"), QStringLiteral("0"));
    const QCommandLineOption headless(
        QStringLiteral("headless"), QStringLiteral("Prints one line for each packet for that long, without a window."),
        QStringLiteral("SECONDS"));
    parser.addOptions({device, headless});
    addLanguageOption(parser);
    addLogOption(parser);
    exitCode = kUsageError;
    if (!parser.parse(QCoreApplication::arguments())) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(parser.errorText()));
        return std::nullopt;
    }
    if (parser.isSet(help) || parser.isSet(version)) {
        const QString named = QStringLiteral("plugboard-capture " PLUGBOARD_VERSION "\n");
        const QString text = parser.isSet(help) ? parser.helpText() : named;
        std::fputs(qUtf8Printable(text), stdout);
        exitCode = 0;
        return std::nullopt;
    }

    Options options;
    options.start = readStartOptions(parser);
    if (!options.start.error.isEmpty()) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(options.start.error));
        return std::nullopt;
    }
    bool pidValid = false;
    bool deviceValid = false;
    bool secondsValid = true;
    options.processId = parser.positionalArguments().value(0).toLongLong(&pidValid);
    options.deviceId = parser.value(device).toUInt(&deviceValid, 0);
    if (parser.isSet(headless))
        options.headlessSeconds = parser.value(headless).toDouble(&secondsValid);
    const bool inRange = !parser.isSet(headless) || (options.headlessSeconds > 0 && options.headlessSeconds < 1e6);
    if (pidValid && options.processId > 0 && deviceValid && secondsValid && inRange &&
        parser.positionalArguments().size() == 1)
        return options;
    std::fprintf(stderr, "%s", qUtf8Printable(parser.helpText()));
    return std::nullopt;
}

int runHeadless(QCoreApplication& application, const Options& options)
{
    QFile output;
    if (!output.open(stdout, QIODevice::WriteOnly))
        return 1;
    HeadlessCapture capture(options.processId, options.headlessSeconds, output);
    QObject::connect(&capture, &HeadlessCapture::finished, &application, &QCoreApplication::exit);
    return QCoreApplication::exec();
}

template<typename Application>
int run(int argc, char** argv)
{
    Application application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("plugboard-capture"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PLUGBOARD_VERSION));
    int exitCode = 0;
    const std::optional<Options> options = parseOptions(exitCode);
    if (!options)
        return exitCode;
    const ProgramRun running(QCoreApplication::applicationName(), QCoreApplication::applicationVersion(),
                             options->start.logRules);
    if (options->headlessSeconds > 0)
        return runHeadless(application, *options);
    if constexpr (std::is_same_v<Application, QApplication>) {
        if (speakAsAsked(options->start.language, application) == Language::SimplifiedChinese)
            preferSimplifiedChinese();
        CaptureWindow window(options->processId, options->deviceId);
        window.show();
        return QCoreApplication::exec();
    }
    return kUsageError;
}

} // namespace

int main(int argc, char** argv)
{
    const bool headless = std::any_of(
        argv + 1, argv + argc, [](const char* argument) { return std::strstr(argument, "-headless") != nullptr; });
    if (headless)
        return run<QCoreApplication>(argc, argv);
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    return run<QApplication>(argc, argv);
}
