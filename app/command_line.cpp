#include "app/command_line.h"

#include <QCommandLineParser>
#include <QCoreApplication>

namespace {

const QCommandLineOption kDemo(QStringLiteral("demo"),
                               QStringLiteral("Use a simulated device tree instead of the system's driver store."));
const QCommandLineOption kCreate(QStringLiteral("create"),
                                 QStringLiteral("Create a device of this TYPE once the window is shown: camera, "
                                                "microphone, speaker, keyboard, mouse, udisk, fido2 or usbip. "
                                                "Can be given several times."),
                                 QStringLiteral("TYPE"));
const QCommandLineOption kList(QStringLiteral("list"), QStringLiteral("Print the running devices and exit."));
const QCommandLineOption kJson(QStringLiteral("json"), QStringLiteral("With --list: print JSON."));
const QCommandLineOption kDelete(QStringLiteral("delete"),
                                 QStringLiteral("End the device with this process id and exit."),
                                 QStringLiteral("PID"));

PrintRequest usageError(const QString& what)
{
    return {what + QStringLiteral("\nTry --help.\n"), true};
}

Request parseWindowRequest(const QCommandLineParser& parser)
{
    WindowRequest request;
    request.demo = parser.isSet(kDemo);
    const QStringList words = parser.values(kCreate);
    for (const QString& word : words) {
        const auto type = deviceTypeFromWord(word);
        if (!type)
            return usageError(QStringLiteral("Unknown device type '%1'.").arg(word));
        request.toCreate.push_back(*type);
    }
    return request;
}

Request parseDeleteRequest(const QCommandLineParser& parser)
{
    bool isNumber = false;
    const qint64 processId = parser.value(kDelete).toLongLong(&isNumber);
    if (!isNumber || processId <= 0)
        return usageError(QStringLiteral("'%1' is not a process id.").arg(parser.value(kDelete)));
    return DeleteRequest{processId};
}

} // namespace

Request parseCommandLine(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Creates, lists and removes virtual USB devices."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addOptions({kDemo, kCreate, kList, kJson, kDelete});

    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    if (parser.isSet(help))
        return PrintRequest{parser.helpText()};
    if (parser.isSet(version))
        return PrintRequest{QStringLiteral("Plugboard %1\n").arg(QStringLiteral(PLUGBOARD_VERSION))};
    if (!parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("Unexpected argument '%1'.").arg(parser.positionalArguments().first()));
    if (parser.isSet(kList) && parser.isSet(kDelete))
        return usageError(QStringLiteral("--list and --delete do not go together."));
    if (parser.isSet(kJson) && !parser.isSet(kList))
        return usageError(QStringLiteral("--json goes with --list."));
    if ((parser.isSet(kList) || parser.isSet(kDelete)) && (parser.isSet(kCreate) || parser.isSet(kDemo)))
        return usageError(
            QStringLiteral("--list and --delete open no window: --demo and --create do not go with them."));
    if (parser.isSet(kList))
        return ListRequest{parser.isSet(kJson)};
    if (parser.isSet(kDelete))
        return parseDeleteRequest(parser);
    return parseWindowRequest(parser);
}
