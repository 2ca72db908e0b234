#include "tools/capture/capture_options.h"

#include <QCommandLineParser>
#include <QFileInfo>

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
    parser.addPositionalArgument(QStringLiteral("PID or FILE"),
                                 QStringLiteral("Process id of a device process, or a file of captured packets."));
    const QCommandLineOption device(QStringLiteral("device"),
                                    QStringLiteral("Only packets of this USB/IP device id (default 0: all)."),
                                    QStringLiteral("ID"), QStringLiteral("0"));
    const QCommandLineOption headless(
        QStringLiteral("headless"),
        QStringLiteral("Print one line for each packet for that long, or those of the file, without a window."),
        QStringLiteral("SECONDS"));
    const QCommandLineOption filter(QStringLiteral("filter"), QStringLiteral("Only packets that this filter wants."),
                                    QStringLiteral("TEXT"));
    const QCommandLineOption save(
        QStringLiteral("save"),
        QStringLiteral("With --headless: also write the packets to this file. Its ending says in which "
                       "form: .pcap and .usbpcap (records of Linux and of Windows), .txt and "
                       ".mon (usbmon's text and records), all else pcapng."),
        QStringLiteral("FILE"));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("With --headless: print a JSON object for each packet."));
    parser.addOptions({help, device, headless, filter, save, json});
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
        return mistake(ids.isEmpty() ? QStringLiteral("The process id of a device process, or a file, is missing.")
                                     : QStringLiteral("Unexpected argument '%1'.").arg(ids.at(1)));
    bool valid = false;
    options.processId = ids.first().toLongLong(&valid);
    if (!valid && QFileInfo::exists(ids.first()))
        options.filePath = ids.first();
    else if (!valid || options.processId <= 0)
        return mistake(QStringLiteral("'%1' is neither a process id nor a file.").arg(ids.first()));
    options.print.deviceId = parser.value(device).toUInt(&valid, 0);
    if (!valid)
        return mistake(QStringLiteral("'%1' is not a device id.").arg(parser.value(device)));
    options.print.filter = parser.value(filter);
    const PacketFilter wanted = parsePacketFilter(options.print.filter);
    if (!wanted.error.isEmpty())
        return mistake(QStringLiteral("--filter, letter %1: %2").arg(wanted.errorPosition + 1).arg(wanted.error));
    options.print.savePath = parser.value(save);
    options.print.json = parser.isSet(json);
    if (!parser.isSet(headless))
        return parser.isSet(save) || parser.isSet(json)
                   ? mistake(QStringLiteral("--save and --json go with --headless."))
                   : options;
    options.run = CaptureOptions::Run::Headless;
    options.seconds = parser.value(headless).toDouble(&valid);
    if (!valid || !(options.seconds > 0 && options.seconds < kLongestSeconds))
        return mistake(QStringLiteral("'%1' is not a number of seconds.").arg(parser.value(headless)));
    return options;
}
