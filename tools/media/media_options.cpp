#include "tools/media/media_options.h"

#include "media/control/cmd_map.h"
#include "media/picture.h"
#include "runtime/start_options.h"

#include <QCommandLineParser>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

namespace {

constexpr int kFallbackRate = 30;
constexpr int kLeastRate = 1;
constexpr int kMostRate = 1000;

MediaOptions textOnly(const QString& text, int exitCode)
{
    MediaOptions options;
    options.run = MediaOptions::Run::Text;
    options.text = text;
    options.exitCode = exitCode;
    return options;
}

MediaOptions mistake(const QString& what)
{
    return textOnly(QStringLiteral("plugboard-media: %1\nTry plugboard-media --help.\n").arg(what), 2);
}

void addOptions(QCommandLineParser& parser)
{
    parser.setApplicationDescription(
        QStringLiteral("Plays a file or a network stream through Plugboard's media chains: in a window (the default),\n"
                       "to a file, or to nothing for measuring. The window's picture is moved and scaled by the text\n"
                       "commands ImgX, ImgY, ImgMX, ImgMY, ImgWS, ImgHS, ImgM and Echo on its local server.\n"
                       "Ctrl+C ends every run; files are complete up to there."));
    parser.addPositionalArgument(QStringLiteral("source"), QStringLiteral("Path or URL (file, http, rtsp)."));
    const auto add = [&parser](const char* name, const char* text, const char* value = nullptr,
                               const char* standard = "") {
        parser.addOption({QString::fromLatin1(name), QString::fromLatin1(text), QString::fromLatin1(value),
                          QString::fromLatin1(standard)});
    };
    add("null", "Run the chain as fast as it goes, drop what comes out, print one JSON line.");
    add("json", "With --null: nothing but the JSON line on the standard output.");
    add("sound", "With --null: the sound chain instead of the picture chain.");
    add("wav", "Write the sound as 16-bit PCM.", "file");
    add("output", "Encode the pictures into a media file (no sound); its name says the container.", "file");
    add("command", "Run a registered debug command on the source.", "name");
    add("list-commands", "Print the names of the debug commands.");
    add("codec", "mjpeg, h264 or h265 (with --output: h264; with --null: pictures).", "name");
    add("format", "Pixel format of the pictures: yuv420p, yuvj420p, yuv422p or nv12.", "name");
    add("size", "Size of the pictures in pixels (the source's own).", "WxH");
    add("rate",
        "Frames per second that the window plays, or that encoding makes of the source\n"
        "by dropping and repeating (the source's own, else 30).",
        "number");
    add("channels", "Sound channels (2).", "number", "2");
    add("sample-rate", "Samples of sound per second (48000).", "number", "48000");
    add("threads", "Threads of decoder and encoder (0: as many as FFmpeg likes).", "number", "0");
    add("server", "Name of the window's command server (CmdServer).", "name", "CmdServer");
    add("seconds", "Close the window after this time.", "number", "0");
    add("snapshot", "Save the window's last picture when it closes.", "file");
    add("verbose", "Show FFmpeg's own messages.");
    addLogOption(parser);
    add("help", "Print this text.");
    add("version", "Print the version.");
}

std::optional<int> number(const QCommandLineParser& parser, const char* name, int least, int most)
{
    bool valid = false;
    const int value = parser.value(QString::fromLatin1(name)).toInt(&valid);
    return valid && value >= least && value <= most ? std::optional(value) : std::nullopt;
}

AVCodecID codecNamed(const QString& name)
{
    if (name == QLatin1String("mjpeg"))
        return AV_CODEC_ID_MJPEG;
    if (name == QLatin1String("h264"))
        return AV_CODEC_ID_H264;
    if (name == QLatin1String("h265") || name == QLatin1String("hevc"))
        return AV_CODEC_ID_HEVC;
    return AV_CODEC_ID_NONE;
}

/// Empty when all values are good.
QString readValues(const QCommandLineParser& parser, MediaOptions& options)
{
    const auto given = [&parser](const char* name) { return parser.isSet(QString::fromLatin1(name)); };
    const auto value = [&parser](const char* name) { return parser.value(QString::fromLatin1(name)); };
    if (given("codec")) {
        options.codec = codecNamed(value("codec").toLower());
        if (options.codec == AV_CODEC_ID_NONE)
            return QStringLiteral("unknown codec '%1'").arg(value("codec"));
    }
    if (given("format")) {
        options.pixelFormat = av_get_pix_fmt(value("format").toUtf8().constData());
        if (!hasKnownPlanes(options.pixelFormat))
            return QStringLiteral("pictures cannot have the pixel format '%1'").arg(value("format"));
    }
    if (given("size")) {
        const QStringList sides = value("size").split(QLatin1Char('x'));
        options.width = sides.size() == 2 ? sides[0].toInt() : 0;
        options.height = sides.size() == 2 ? sides[1].toInt() : 0;
        if (options.width < 2 || options.height < 2 || options.width > 16384 || options.height > 16384)
            return QStringLiteral("'%1' is no size like 640x480").arg(value("size"));
    }
    struct Number
    {
        const char* name;
        int* target;
        int least;
        int most;
    };
    const Number numbers[] = {{"rate", &options.rate, kLeastRate, kMostRate},
                              {"channels", &options.channels, 1, 8},
                              {"sample-rate", &options.sampleRate, 1000, 384000},
                              {"threads", &options.threads, 0, 64},
                              {"seconds", &options.seconds, 0, 1000000}};
    for (const Number& one : numbers) {
        if (!given(one.name))
            continue;
        const std::optional<int> read = number(parser, one.name, one.least, one.most);
        if (!read) {
            return QStringLiteral("--%1 takes a number from %2 to %3")
                .arg(QString::fromLatin1(one.name))
                .arg(one.least)
                .arg(one.most);
        }
        *one.target = *read;
    }
    return {};
}

/// Also under another name, as links give a file.
bool isSameFile(const QString& one, const QString& other)
{
    std::error_code ignored;
    return std::filesystem::equivalent(one.toStdU16String(), other.toStdU16String(), ignored);
}

/// An option that this kind of run has no use for; empty when there is none.
QString uselessOption(const QCommandLineParser& parser, const MediaOptions& options)
{
    using Run = MediaOptions::Run;
    const bool isSound = options.run == Run::Wav || options.sound;
    const bool encodes = !isSound && (options.run == Run::File || options.codec != AV_CODEC_ID_NONE);
    const bool makesPictures = options.run == Run::File || (options.run == Run::Null && !isSound);
    const bool isWindow = options.run == Run::Window;
    const std::pair<const char*, bool> uses[] = {
        {"sound", options.run == Run::Null},
        {"json", options.run == Run::Null},
        {"codec", makesPictures},
        {"format", makesPictures},
        {"size", makesPictures || isWindow},
        {"rate", encodes || isWindow},
        {"channels", isSound},
        {"sample-rate", isSound},
        {"threads", makesPictures || isSound},
        {"server", isWindow},
        {"seconds", isWindow},
        {"snapshot", isWindow},
    };
    for (const auto& [name, isUsed] : uses) {
        if (!isUsed && parser.isSet(QString::fromLatin1(name)))
            return QStringLiteral("--%1 does nothing here").arg(QString::fromLatin1(name));
    }
    if (isWindow &&
        (options.server.isEmpty() || options.server.contains(QRegularExpression(QStringLiteral("[/\\\\]")))))
        return QStringLiteral("'%1' is no name of a server").arg(options.server);
    return {};
}

/// What is done with which source; empty when that is clear.
QString readRun(const QCommandLineParser& parser, MediaOptions& options)
{
    using Run = MediaOptions::Run;
    const auto given = [&parser](const char* name) { return parser.isSet(QString::fromLatin1(name)); };
    const auto value = [&parser](const char* name) { return parser.value(QString::fromLatin1(name)); };
    int runs = 0;
    for (const auto& [name, run] :
         {std::pair{"null", Run::Null}, {"wav", Run::Wav}, {"output", Run::File}, {"command", Run::Command}}) {
        if (given(name)) {
            options.run = run;
            ++runs;
        }
    }
    if (runs > 1)
        return QStringLiteral("--null, --wav, --output and --command exclude each other");
    options.source = parser.positionalArguments().value(0);
    options.output = given("wav") ? value("wav") : value("output");
    options.command = value("command");
    options.server = value("server");
    options.snapshot = value("snapshot");
    options.sound = given("sound");
    options.json = given("json");
    options.verbose = given("verbose");
    if (options.run == Run::File && options.codec == AV_CODEC_ID_NONE)
        options.codec = AV_CODEC_ID_H264;
    if (parser.positionalArguments().size() > 1 || (options.source.isEmpty() && options.run != Run::Command))
        return QStringLiteral("one source is needed");
    for (const QString& written : {options.output, options.snapshot}) {
        if (!written.isEmpty() && isSameFile(written, options.source))
            return QStringLiteral("'%1' would replace its own source").arg(written);
    }
    return uselessOption(parser, options);
}

} // namespace

int playingRate(const MediaOptions& options, AVRational sourceRate)
{
    if (options.rate > 0)
        return options.rate;
    const double perSecond = sourceRate.num > 0 && sourceRate.den > 0 ? av_q2d(sourceRate) : kFallbackRate;
    return static_cast<int>(std::clamp<double>(std::round(perSecond), kLeastRate, kMostRate));
}

MediaOptions parseMediaOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    const bool parsed = parser.parse(arguments);
    const auto given = [&parser](const char* name) { return parser.isSet(QString::fromLatin1(name)); };
    if (!parsed)
        return mistake(parser.errorText());
    const StartOptions start = readStartOptions(parser, false);
    if (!start.error.isEmpty())
        return mistake(start.error);
    if (given("help"))
        return textOnly(parser.helpText(), 0);
    if (given("version"))
        return textOnly(QStringLiteral("plugboard-media " PLUGBOARD_VERSION "\n"), 0);
    if (given("list-commands")) {
        QString names;
        for (const std::string& name : CmdMap::instance().names())
            names += QString::fromStdString(name) + QLatin1Char('\n');
        return textOnly(names, 0);
    }

    MediaOptions options;
    options.logRules = start.logRules;
    for (const auto read : {readValues, readRun}) {
        const QString wrong = read(parser, options);
        if (!wrong.isEmpty())
            return mistake(wrong);
    }
    return options;
}
