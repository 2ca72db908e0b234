#include "app/command_line.h"

#include "app/device_settings.h"
#include "runtime/start_options.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>

namespace {

// Not the parser's own help option, which brings a "--help-all" with it.
const QCommandLineOption kHelp({QStringLiteral("h"), QStringLiteral("help")},
                               QStringLiteral("Print this help and exit."));
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
const QCommandLineOption kSend(QStringLiteral("send"),
                               QStringLiteral("Send the arguments, one command, to the device with this process id, "
                                              "print its answer and exit: --send PID type Hello."),
                               QStringLiteral("PID"));

/// Made when it is first needed, for its text is put together from what other files know.
const QCommandLineOption& setOption()
{
    static const QCommandLineOption option(
        QStringLiteral("set"),
        QStringLiteral("A setting of the device of the --create before it, which is then created without a dialog. "
                       "Can be given several times: %1.")
            .arg(settingsHelp()),
        QStringLiteral("NAME=VALUE"));
    return option;
}

PrintRequest usageError(const QString& what)
{
    return {what + QStringLiteral("\nTry --help.\n"), true};
}

/// A --create with the --set options that follow it.
struct CreateOption
{
    QString word;
    QStringList assignments;
};

/// In the order of the command line; nothing when a --set comes before the first --create.
std::optional<std::vector<CreateOption>> createOptions(const QCommandLineParser& parser)
{
    std::vector<CreateOption> options;
    QStringList words = parser.values(kCreate);
    QStringList assignments = parser.values(setOption());
    const QStringList names = parser.optionNames();
    for (const QString& name : names) {
        if (kCreate.names().contains(name))
            options.push_back({words.takeFirst(), {}});
        else if (setOption().names().contains(name) && options.empty())
            return std::nullopt;
        else if (setOption().names().contains(name))
            options.back().assignments << assignments.takeFirst();
    }
    return options;
}

Request parseWindowRequest(const QCommandLineParser& parser, const StartOptions& start)
{
    WindowRequest request;
    request.language = start.language;
    request.logRules = start.logRules;
    request.demo = parser.isSet(kDemo);
    const auto options = createOptions(parser);
    if (!options)
        return usageError(QStringLiteral("--set goes after the --create that it belongs to."));
    for (const CreateOption& option : *options) {
        const auto type = deviceTypeFromWord(option.word);
        if (!type)
            return usageError(QStringLiteral("Unknown device type '%1'.").arg(option.word));
        CreationRequest creation{*type};
        if (!option.assignments.isEmpty()) {
            const ScriptedParameters scripted = scriptedParameters(*type, option.assignments);
            if (!scripted.error.isEmpty())
                return usageError(QStringLiteral("--create %1: %2").arg(option.word, scripted.error));
            creation.parameters = scripted.list;
        }
        request.toCreate.push_back(std::move(creation));
    }
    return request;
}

/// The process id that the option was given; nothing when it is none.
std::optional<qint64> processIdOf(const QCommandLineParser& parser, const QCommandLineOption& option)
{
    bool isNumber = false;
    const qint64 processId = parser.value(option).toLongLong(&isNumber);
    return isNumber && processId > 0 ? std::optional(processId) : std::nullopt;
}

/// The words of a command as one line. The file that some name is looked up from the folder that the user is in, which
/// is not the device's.
QString commandOf(const QStringList& words)
{
    static const QStringList kWithFile{QStringLiteral("insert"), QStringLiteral("save"), QStringLiteral("record")};
    const bool hasFile = words.size() > 1 && kWithFile.contains(words[0]);
    const QString line = words.join(QLatin1Char(' '));
    return hasFile ? words[0] + QLatin1Char(' ') + QDir::current().absoluteFilePath(line.mid(words[0].size() + 1))
                   : line;
}

Request parseSendRequest(const QCommandLineParser& parser, const StartOptions& start)
{
    const auto processId = processIdOf(parser, kSend);
    if (!processId)
        return usageError(QStringLiteral("'%1' is not a process id.").arg(parser.value(kSend)));
    const QString command = commandOf(parser.positionalArguments());
    if (command.trimmed().isEmpty())
        return usageError(QStringLiteral("--send needs a command after the process id."));
    return SendRequest{*processId, command, start.logRules};
}

Request parseDeleteRequest(const QCommandLineParser& parser, const StartOptions& start)
{
    const auto processId = processIdOf(parser, kDelete);
    if (!processId)
        return usageError(QStringLiteral("'%1' is not a process id.").arg(parser.value(kDelete)));
    return DeleteRequest{*processId, start.logRules};
}

} // namespace

Request parseCommandLine(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Creates, lists and removes virtual USB devices."));
    const QCommandLineOption version = parser.addVersionOption();
    parser.addOptions({kHelp, kDemo, kCreate, setOption(), kList, kJson, kDelete, kSend});
    // A command's words may look like options: "wheel -3".
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.addPositionalArgument(QStringLiteral("COMMAND"), QStringLiteral("With --send: the command and its words."),
                                 QStringLiteral("[COMMAND...]"));
    addLanguageOption(parser);
    addLogOption(parser);

    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    if (parser.isSet(kHelp))
        return PrintRequest{parser.helpText()};
    if (parser.isSet(version))
        return PrintRequest{QStringLiteral("Plugboard %1\n").arg(QStringLiteral(PLUGBOARD_VERSION))};
    const StartOptions start = readStartOptions(parser);
    if (!start.error.isEmpty())
        return usageError(start.error);
    if (!parser.positionalArguments().isEmpty() && !parser.isSet(kSend))
        return usageError(QStringLiteral("Unexpected argument '%1'.").arg(parser.positionalArguments().first()));
    const int commands = int(parser.isSet(kList)) + int(parser.isSet(kDelete)) + int(parser.isSet(kSend));
    if (commands > 1)
        return usageError(QStringLiteral("--list, --delete and --send do not go together."));
    if (parser.isSet(kJson) && !parser.isSet(kList))
        return usageError(QStringLiteral("--json goes with --list."));
    if (commands > 0 && (parser.isSet(kCreate) || parser.isSet(setOption()) || parser.isSet(kDemo) || start.language))
        return usageError(QStringLiteral(
            "--list, --delete and --send open no window: --demo, --create, --set and --language do not go with them."));
    if (parser.isSet(kList))
        return ListRequest{parser.isSet(kJson), start.logRules};
    if (parser.isSet(kDelete))
        return parseDeleteRequest(parser, start);
    if (parser.isSet(kSend))
        return parseSendRequest(parser, start);
    return parseWindowRequest(parser, start);
}
