#include "app/command_line.h"
#include "app/creation_slots.h"
#include "tests/support/suite_registry.h"

#include <QDir>
#include <QtTest>

namespace {

QString describe(const CreationRequest& creation)
{
    const QString word = QLatin1Char(' ') + deviceTypeWord(creation.type);
    return creation.parameters.isEmpty()
               ? word
               : word + QStringLiteral("(%1)").arg(creation.parameters.join(QLatin1Char('|')));
}

QString describe(const Request& request)
{
    if (const auto* print = std::get_if<PrintRequest>(&request))
        return (print->isError ? QStringLiteral("error: ") : QStringLiteral("print: ")) +
               print->text.section(QLatin1Char('\n'), 0, 0);
    if (const auto* list = std::get_if<ListRequest>(&request))
        return list->json ? QStringLiteral("list json") : QStringLiteral("list");
    if (const auto* removal = std::get_if<DeleteRequest>(&request))
        return removal->processId ? QStringLiteral("delete %1").arg(*removal->processId) : QStringLiteral("delete all");
    if (const auto* send = std::get_if<SendRequest>(&request))
        return QStringLiteral("send %1 [%2]").arg(send->processId).arg(send->command);
    if (std::holds_alternative<WatchRequest>(request))
        return QStringLiteral("watch");
    if (const auto* start = std::get_if<StartRequest>(&request))
        return QStringLiteral("start") + describe(start->device) +
               (start->waitSeconds ? QStringLiteral(" wait %1").arg(*start->waitSeconds) : QString());
    const auto& window = std::get<WindowRequest>(request);
    QString text = window.demo ? QStringLiteral("demo window") : QStringLiteral("window");
    for (const CreationRequest& creation : window.toCreate)
        text += describe(creation);
    return text;
}

} // namespace

namespace {

/// Notes which slots were called and how many event-loop turns had passed.
class SlotRecorder : public QObject
{
    Q_OBJECT

public:
    QStringList calls;

public slots:
    void onCreateMouse() { calls << QStringLiteral("mouse"); }
    void onCreateUsbStorage() { calls << QStringLiteral("udisk"); }
    void CallUsbDaemon(const QString& devType, const QString& args, const std::function<void(qint64)>& callback)
    {
        callback(1);
        calls << devType + QLatin1Char(' ') + args;
    }
};

} // namespace

class CommandLineTest : public QObject
{
    Q_OBJECT

private slots:
    void understands_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const char* arguments, const char* expected) {
            QTest::newRow(name) << QString::fromLatin1(arguments) << QString::fromLatin1(expected);
        };
        row("nothing opens the window", "", "window");
        row("types keep their order", "--demo --create mouse --create keyboard --create mouse",
            "demo window mouse keyboard mouse");
        row("type words are the launcher's", "--create udisk --create usbip", "window udisk usbip");
        row("an unknown type is refused", "--create storage", "error: Unknown device type 'storage'.");
        row("a type in other letters is unknown", "--create Mouse", "error: Unknown device type 'Mouse'.");
        row("list", "--list", "list");
        row("list as JSON", "--list --json", "list json");
        row("JSON alone is refused", "--json", "error: --json goes with --list.");
        row("delete", "--delete 4312", "delete 4312");
        row("delete everything", "--delete all", "delete all");
        row("a process id must be a number", "--delete x", "error: 'x' is not a process id.");
        row("a process id must be positive", "--delete 0", "error: '0' is not a process id.");
        row("a command keeps what looks like an option", "--send 4312 move -5 --3", "send 4312 [move -5 --3]");
        QTest::newRow("a disk's file is looked up from here")
            << QStringLiteral("--send 4312 insert my disk.img")
            << QStringLiteral("send 4312 [insert %1/my disk.img]").arg(QDir::currentPath());
        QTest::newRow("a source's file is looked up from here")
            << QStringLiteral("--send 4312 source my film.mp4")
            << QStringLiteral("send 4312 [source %1/my film.mp4]").arg(QDir::currentPath());
        row("a source that is no file stays", "--send 4312 source rtsp://127.0.0.1/a",
            "send 4312 [source rtsp://127.0.0.1/a]");
        row("commands from standard input", "--send 4312", "send 4312 []");
        row("list and delete exclude each other", "--list --delete 3",
            "error: --list and --delete do not go together.");
        row("a script command opens no window", "--list --create mouse",
            "error: --list opens no window: --demo, --create, --language, --set do not go with it.");
        row("a start takes what its type has", "--start mouse", "start mouse");
        row("a fixed list", "--start keyboard --wait 5",
            "start keyboard(7|1d6b|0002|Keyboard Device|0200|104|USB HID|END) wait 5");
        row("settings of a start", "--start fido2 --set serial=S --set pin=off --set vid=0x1 --set usb=3.0",
            "start fido2(2|0x1|0x5678|FIDO2 Security Key|1|S|FOLDER/fido2/S_credentials.json|0|END)");
        row("a key's serial number names files", "--start fido2 --set serial=a/b",
            "error: --start fido2: 'a/b' is no value for serial; expected a text on one line without slashes, not an "
            "empty "
            "one.");
        row("a key's credentials must be there", "--start fido2 --set credentials=no.json",
            "error: --start fido2: 'no.json' is no value for credentials; expected a credentials file that can be "
            "read.");
        row("one start, one device", "--start mouse --start mouse", "error: --start starts one device.");
        row("settings before the start", "--set usb=2.0 --start fido2",
            "error: --set goes after the --start that it belongs to.");
        row("a start opens no window", "--start mouse --demo",
            "error: --start opens no window: --demo, --create, --language do not go with it.");
        row("only a start waits", "--create mouse --wait 3", "error: --wait goes with --start and --lab.");
        row("a lab that is not there", "--lab no.json", "error: no.json: The file cannot be read.");
        row("watch", "--watch", "watch");
        row("seconds are a number", "--start mouse --wait -1",
            "error: '-1' is no value for --wait; expected seconds from 0 to 86400.");
        row("settings belong to the device before them",
            "--create camera --set source=http://127.0.0.1/v --create keyboard --create microphone --set vid=00ff "
            "--create "
            "camera "
            "--set rate=60 --set=resolution=1280x720",
            "window camera(1|0x1234|0x5678|UVC Camera|0|http://127.0.0.1/v|7|-1|640|480|25|0x0100|0|END) keyboard "
            "microphone(3|00ff|0002|USB Microphone|0|1.0|0|test_audio.wav|2|48000|1|END) "
            "camera(1|0x1234|0x5678|UVC Camera|0||7|-1|1280|720|60|0x0100|0|END)");
        row("a setting before any device", "--set rate=60 --create camera",
            "error: --set goes after the --create that it belongs to.");
        row("a setting without a device", "--set rate=60", "error: --set goes after the --create that it belongs to.");
        row("a bad setting names its device", "--create camera --create microphone --set vid=1",
            "error: --create microphone: '1' is no value for vid; expected four hexadecimal digits.");
        row("a device without a name, whose row the next would take", "--create camera --set name=",
            "error: --create camera: '' is no value for name; expected a text on one line, not an empty one.");
        row("a device without settings", "--create mouse --set name=x",
            "error: --create mouse: A device of type 'mouse' has no settings to give.");
        row("settings of a script command", "--list --set name=x",
            "error: --list opens no window: --demo, --create, --language, --set do not go with it.");
        row("an unknown option is refused", "--frob", "error: Unknown option 'frob'.");
        row("only one kind of help", "--help-all", "error: Unknown option 'help-all'.");
        row("a stray argument is refused", "mouse", "error: Unexpected argument 'mouse'.");
        row("the version names the program", "--version", "print: Plugboard " PLUGBOARD_VERSION);
    }

    void understands()
    {
        QFETCH(QString, arguments);
        QFETCH(QString, expected);
        const QStringList words =
            QStringList{QStringLiteral("plugboard")} + arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        expected.replace(QStringLiteral("FOLDER"), QCoreApplication::applicationDirPath());
        QCOMPARE(describe(parseCommandLine(words)), expected);
    }

    void creationSlotsRunOneATurnAndInOrder()
    {
        SlotRecorder recorder;
        invokeCreationSlots(&recorder, {{DeviceType::Storage},
                                        {DeviceType::Camera, {QStringLiteral("1"), QStringLiteral("END")}},
                                        {DeviceType::Mouse}});
        QVERIFY(recorder.calls.isEmpty());
        QCoreApplication::processEvents();
        QCOMPARE(recorder.calls, QStringList{QStringLiteral("udisk")});
        QTRY_COMPARE(recorder.calls.join(QLatin1Char('|')), QStringLiteral("udisk|camera 1\nEND|mouse"));
    }
};

PLUGBOARD_SUITE(CommandLineTest)
#include "command_line_test.moc"
