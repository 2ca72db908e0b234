#include "tools/capture/capture_options.h"

#include <QCommandLineParser>

namespace {

constexpr int kUsageError = 3;
constexpr double kLongestSeconds = 1e6;

CaptureOptions textOnly(const QString& text, int exitCode)
{
    CaptureOptions options;
    options.run = CaptureOptions::Run::Text;
    options.text = text;
    options.exitCode = exitCode;
    return options;
}

CaptureOptions mistake(const QString& what)
{
    return textOnly(QStringLiteral("plugboard-capture: %1\nTry plugboard-capture --help.\n").arg(what), kUsageError);
}

} // namespace

CaptureOptions parseCaptureOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Watches the USB traffic of one virtual device."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Print this help and exit."));
    const QCommandLineOption version = parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("PID"), QStringLiteral("Process id of the device process."));
    const QCommandLineOption device(QStringLiteral("device"), QStringLiteral("USB/IP device id (default 0)."),
                                    QStringLiteral("ID"), QStringLiteral("0"));
    const QCommandLineOption headless(QStringLiteral("headless"),
                                      QStringLiteral("Print one line for each packet for that long, without a window."),
                                      QStringLiteral("SECONDS"));
    parser.addOptions({help, device, headless});
    addLanguageOption(parser);
    addLogOption(parser);

    if (!parser.parse(arguments))
        return mistake(parser.errorText());
    if (parser.isSet(help))
        return textOnly(parser.helpText(), 0);
    if (parser.isSet(version))
        return textOnly(QStringLiteral("plugboard-capture " PLUGBOARD_VERSION "\n"), 0);

    CaptureOptions options;
    options.start = readStartOptions(parser);
    if (!options.start.error.isEmpty())
        return mistake(options.start.error);
    const QStringList ids = parser.positionalArguments();
    if (ids.size() != 1)
        return mistake(ids.isEmpty() ? QStringLiteral("The process id of a device process is missing.")
                                     : QStringLiteral("Unexpected argument '%1'.").arg(ids.at(1)));
    bool valid = false;
    options.processId = ids.first().toLongLong(&valid);
    if (!valid || options.processId <= 0)
        return mistake(QStringLiteral("'%1' is not a process id.").arg(ids.first()));
    options.deviceId = parser.value(device).toUInt(&valid, 0);
    if (!valid)
        return mistake(QStringLiteral("'%1' is not a device id.").arg(parser.value(device)));
    if (!parser.isSet(headless))
        return options;
    options.run = CaptureOptions::Run::Headless;
    options.seconds = parser.value(headless).toDouble(&valid);
    if (!valid || !(options.seconds > 0 && options.seconds < kLongestSeconds))
        return mistake(QStringLiteral("'%1' is not a number of seconds.").arg(parser.value(headless)));
    return options;
}
