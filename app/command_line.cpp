#include "app/command_line.h"

#include "app/device_settings.h"
#include "app/lab_file.h"
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
const QCommandLineOption kStart(QStringLiteral("start"),
                                QStringLiteral("Start a device of this TYPE without a window, print what it is as JSON "
                                               "and exit; the device stays."),
                                QStringLiteral("TYPE"));
const QCommandLineOption
    kWait(QStringLiteral("wait"),
          QStringLiteral("With --start and --lab: wait up to so many seconds until a host has configured "
                         "the device; exit with 4 when none has."),
          QStringLiteral("SECONDS"));
const QCommandLineOption kLab(QStringLiteral("lab"),
                              QStringLiteral("Start the devices that a JSON file lists, all or none, print them and "
                                             "exit; the devices stay."),
                              QStringLiteral("FILE"));
const QCommandLineOption kDeleteLab(QStringLiteral("delete-lab"),
                                    QStringLiteral("End the devices that --lab has started from this file, and exit."),
                                    QStringLiteral("FILE"));
const QCommandLineOption kWatch(QStringLiteral("watch"),
                                QStringLiteral("Print what changes with the devices, a line of JSON each, until "
                                               "interrupted."));
const QCommandLineOption kList(QStringLiteral("list"), QStringLiteral("Print the running devices and exit."));
const QCommandLineOption kJson(QStringLiteral("json"), QStringLiteral("With --list: print JSON."));
const QCommandLineOption kDelete(QStringLiteral("delete"),
                                 QStringLiteral("End the device with this process id, or with \"all\" every device, "
                                                "and exit."),
                                 QStringLiteral("PID"));
const QCommandLineOption kSend(QStringLiteral("send"),
                               QStringLiteral("Send the arguments, one command, to the device with this process id, "
                                              "print its answer and exit: --send PID type Hello. Without a command "
                                              "each line of standard input is one, up to the first that fails."),
                               QStringLiteral("PID"));

/// Made when it is first needed, for its text is put together from what other files know.
const QCommandLineOption& setOption()
{
    static const QCommandLineOption option(
        QStringLiteral("set"),
        QStringLiteral("A setting of the device of the --start or --create before it, which is then created without "
                       "a dialog. Can be given several times: %1.")
            .arg(settingsHelp()),
        QStringLiteral("NAME=VALUE"));
    return option;
}

PrintRequest usageError(const QString& what)
{
    return {what + QStringLiteral("\nTry --help.\n"), true};
}

QString optionText(const QCommandLineOption& option)
{
    return QStringLiteral("--") + option.names().constLast();
}

/// A --create or --start with the --set options that follow it.
struct CreateOption
{
    QString word;
    QStringList assignments;
};

/// Each --create, or --start, in the order of the command line; nothing when a --set comes before the first.
std::optional<std::vector<CreateOption>> createOptions(const QCommandLineParser& parser,
                                                       const QCommandLineOption& create)
{
    std::vector<CreateOption> options;
    QStringList words = parser.values(create);
    QStringList assignments = parser.values(setOption());
    const QStringList names = parser.optionNames();
    for (const QString& name : names) {
        if (create.names().contains(name))
            options.push_back({words.takeFirst(), {}});
        else if (setOption().names().contains(name) && options.empty())
            return std::nullopt;
        else if (setOption().names().contains(name))
            options.back().assignments << assignments.takeFirst();
    }
    return options;
}

/// The device of the option, or the error.
struct CreationReading
{
    CreationRequest request;
    QString error;
};

/// `create` is the option that it was given by.
CreationReading readCreation(const CreateOption& option, const QCommandLineOption& create)
{
    const auto type = deviceTypeFromWord(option.word);
    if (!type)
        return {{}, QStringLiteral("Unknown device type '%1'.").arg(option.word)};
    if (&create == &kCreate && option.assignments.isEmpty())
        return {{*type}, {}}; // its slot finds out what to create
    const ScriptedParameters scripted = scriptedParameters(*type, option.assignments);
    if (!scripted.error.isEmpty())
        return {{}, QStringLiteral("%1 %2: %3").arg(optionText(create), option.word, scripted.error)};
    return {{*type, scripted.list}, {}};
}

const QString kSetGoesAfter = QStringLiteral("--set goes after the %1 that it belongs to.");

Request parseWindowRequest(const QCommandLineParser& parser, const StartOptions& start)
{
    WindowRequest request;
    request.language = start.language;
    request.logRules = start.logRules;
    request.demo = parser.isSet(kDemo);
    const auto options = createOptions(parser, kCreate);
    if (!options)
        return usageError(kSetGoesAfter.arg(QStringLiteral("--create")));
    for (const CreateOption& option : *options) {
        CreationReading creation = readCreation(option, kCreate);
        if (!creation.error.isEmpty())
            return usageError(creation.error);
        request.toCreate.push_back(std::move(creation.request));
    }
    return request;
}

/// Seconds of --wait; nothing for a wrong value.
std::optional<int> waitSeconds(const QCommandLineParser& parser)
{
    constexpr int kLongest = 24 * 60 * 60;
    bool isNumber = false;
    const int seconds = parser.value(kWait).toInt(&isNumber);
    return isNumber && seconds >= 0 && seconds <= kLongest ? std::optional(seconds) : std::nullopt;
}

Request parseStartRequest(const QCommandLineParser& parser, const StartOptions& start)
{
    const auto options = createOptions(parser, kStart);
    if (!options)
        return usageError(kSetGoesAfter.arg(QStringLiteral("--start")));
    if (options->size() > 1)
        return usageError(QStringLiteral("--start starts one device."));
    StartRequest request;
    CreationReading creation = readCreation(options->front(), kStart);
    if (!creation.error.isEmpty())
        return usageError(creation.error);
    request.device = std::move(creation.request);
    if (parser.isSet(kWait))
        request.waitSeconds = waitSeconds(parser);
    request.logRules = start.logRules;
    return request;
}

Request parseLabRequest(const QCommandLineParser& parser, const StartOptions& start)
{
    const QString path = parser.value(kLab);
    LabReading lab = readLab(path);
    if (!lab.error.isEmpty())
        return usageError(lab.error);
    LabRequest request{std::move(lab.devices), labName(path), std::nullopt, start.logRules};
    if (parser.isSet(kWait))
        request.waitSeconds = waitSeconds(parser);
    return request;
}

/// The process id that the option was given; nothing when it is none.
std::optional<qint64> processIdOf(const QCommandLineParser& parser, const QCommandLineOption& option)
{
    bool isNumber = false;
    const qint64 processId = parser.value(option).toLongLong(&isNumber);
    return isNumber && processId > 0 ? std::optional(processId) : std::nullopt;
}

Request parseSendRequest(const QCommandLineParser& parser, const StartOptions& start)
{
    const auto processId = processIdOf(parser, kSend);
    if (!processId)
        return usageError(QStringLiteral("'%1' is not a process id.").arg(parser.value(kSend)));
    const QStringList words = parser.positionalArguments();
    const QString command = commandFrom(words.join(QLatin1Char(' ')), QDir::currentPath());
    if (!words.isEmpty() && command.isEmpty())
        return usageError(QStringLiteral("A command is not empty."));
    return SendRequest{*processId, command, start.logRules};
}

Request parseDeleteRequest(const QCommandLineParser& parser, const StartOptions& start)
{
    if (parser.value(kDelete) == QLatin1String("all"))
        return DeleteRequest{std::nullopt, start.logRules};
    const auto processId = processIdOf(parser, kDelete);
    if (!processId)
        return usageError(QStringLiteral("'%1' is not a process id.").arg(parser.value(kDelete)));
    return DeleteRequest{*processId, start.logRules};
}

/// Options that do one thing without a window.
const std::vector<const QCommandLineOption*>& commands()
{
    static const std::vector<const QCommandLineOption*> all{&kStart, &kLab,    &kDeleteLab, &kWatch,
                                                            &kList,  &kDelete, &kSend};
    return all;
}

/// The command that was given, null for none; `error` when there are several, or options that do not go with it.
const QCommandLineOption* givenCommand(const QCommandLineParser& parser, const StartOptions& start, QString& error)
{
    const QCommandLineOption* given = nullptr;
    for (const QCommandLineOption* command : commands()) {
        if (given && parser.isSet(*command))
            error = QStringLiteral("%1 and %2 do not go together.").arg(optionText(*given), optionText(*command));
        if (parser.isSet(*command))
            given = command;
    }
    const bool hasSettings = given != &kStart && parser.isSet(setOption());
    if (given && error.isEmpty() && (parser.isSet(kCreate) || hasSettings || parser.isSet(kDemo) || start.language))
        error = QStringLiteral("%1 opens no window: --demo, --create, --language%2 do not go with it.")
                    .arg(optionText(*given), given == &kStart ? QString() : QStringLiteral(", --set"));
    return given;
}

/// What is wrong with options that belong to a command.
QString strayOption(const QCommandLineParser& parser, const QCommandLineOption* command)
{
    if (!parser.positionalArguments().isEmpty() && command != &kSend)
        return QStringLiteral("Unexpected argument '%1'.").arg(parser.positionalArguments().first());
    if (parser.isSet(kJson) && command != &kList)
        return QStringLiteral("--json goes with --list.");
    if (parser.isSet(kWait) && command != &kStart && command != &kLab)
        return QStringLiteral("--wait goes with --start and --lab.");
    if (parser.isSet(kWait) && !waitSeconds(parser))
        return QStringLiteral("'%1' is no value for --wait; expected seconds from 0 to 86400.")
            .arg(parser.value(kWait));
    return {};
}

} // namespace

QString commandFrom(const QString& line, const QString& folder)
{
    static const QStringList kWithFile{QStringLiteral("insert"), QStringLiteral("save"), QStringLiteral("record"),
                                       QStringLiteral("source")};
    const QString command = line.trimmed();
    const QString word = command.section(QLatin1Char(' '), 0, 0);
    const QString file = command.mid(word.size()).trimmed();
    const bool hasFile = kWithFile.contains(word) && !file.isEmpty() && !file.contains(QLatin1String("://"));
    return hasFile ? word + QLatin1Char(' ') + QDir(folder).absoluteFilePath(file) : command;
}

Request parseCommandLine(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Creates, lists and removes virtual USB devices."));
    const QCommandLineOption version = parser.addVersionOption();
    parser.addOptions(
        {kHelp, kDemo, kCreate, kStart, setOption(), kWait, kLab, kDeleteLab, kWatch, kList, kJson, kDelete, kSend});
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
    QString error = start.error;
    const QCommandLineOption* command = error.isEmpty() ? givenCommand(parser, start, error) : nullptr;
    if (error.isEmpty())
        error = strayOption(parser, command);
    if (!error.isEmpty())
        return usageError(error);
    if (command == &kStart)
        return parseStartRequest(parser, start);
    if (command == &kLab)
        return parseLabRequest(parser, start);
    if (command == &kDeleteLab)
        return DeleteLabRequest{labName(parser.value(kDeleteLab)), start.logRules};
    if (command == &kWatch)
        return WatchRequest{start.logRules};
    if (command == &kList)
        return ListRequest{parser.isSet(kJson), start.logRules};
    if (command == &kDelete)
        return parseDeleteRequest(parser, start);
    if (command == &kSend)
        return parseSendRequest(parser, start);
    return parseWindowRequest(parser, start);
}
