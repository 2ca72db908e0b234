#include "app/command_line.h"
#include "app/creation_slots.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

class CommandLineTest : public QObject
{
    Q_OBJECT

private slots:
    void understands_data();
    void understands();
    void creationSlotsRunOneATurnAndInOrder();
};

namespace {

QString describe(const Request& request)
{
    if (const auto* print = std::get_if<PrintRequest>(&request))
        return (print->isError ? QStringLiteral("error: ") : QStringLiteral("print: ")) +
               print->text.section(QLatin1Char('\n'), 0, 0);
    if (const auto* list = std::get_if<ListRequest>(&request))
        return list->json ? QStringLiteral("list json") : QStringLiteral("list");
    if (const auto* removal = std::get_if<DeleteRequest>(&request))
        return QStringLiteral("delete %1").arg(removal->processId);
    const auto& window = std::get<WindowRequest>(request);
    QString text = window.demo ? QStringLiteral("demo window") : QStringLiteral("window");
    for (const DeviceType type : window.toCreate)
        text += QLatin1Char(' ') + deviceTypeWord(type);
    return text;
}

} // namespace

void CommandLineTest::understands_data()
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
    row("a process id must be a number", "--delete x", "error: 'x' is not a process id.");
    row("a process id must be positive", "--delete 0", "error: '0' is not a process id.");
    row("list and delete exclude each other", "--list --delete 3", "error: --list and --delete do not go together.");
    row("a script command opens no window", "--list --create mouse",
        "error: --list and --delete open no window: --demo and --create do not go with them.");
    row("an unknown option is refused", "--frob", "error: Unknown option 'frob'.");
    row("only one kind of help", "--help-all", "error: Unknown option 'help-all'.");
    row("a stray argument is refused", "mouse", "error: Unexpected argument 'mouse'.");
    row("the version names the program", "--version", "print: Plugboard " PLUGBOARD_VERSION);
}

void CommandLineTest::understands()
{
    QFETCH(QString, arguments);
    QFETCH(QString, expected);
    const QStringList words =
        QStringList{QStringLiteral("plugboard")} + arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QCOMPARE(describe(parseCommandLine(words)), expected);
}

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
};

} // namespace

void CommandLineTest::creationSlotsRunOneATurnAndInOrder()
{
    SlotRecorder recorder;
    invokeCreationSlots(&recorder, {DeviceType::Storage, DeviceType::Mouse});
    QVERIFY(recorder.calls.isEmpty());
    QCoreApplication::processEvents();
    QCOMPARE(recorder.calls, QStringList{QStringLiteral("udisk")});
    QTRY_COMPARE(recorder.calls, (QStringList{QStringLiteral("udisk"), QStringLiteral("mouse")}));
}

PLUGBOARD_SUITE(CommandLineTest)
#include "command_line_test.moc"
