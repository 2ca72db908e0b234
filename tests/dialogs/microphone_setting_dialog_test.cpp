#include "dialogs/microphone_setting_dialog.h"
#include "tests/dialogs/form.h"
#include "tests/dialogs/sources.h"
#include "tests/dialogs/values.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"

#include <QFileInfo>
#include <QSpinBox>

namespace {

const QString kWarning = QStringLiteral("Warning");
const QString kIncomplete = QStringLiteral("Please enter IP address and port");
const QString kFailed =
    QStringLiteral("Failed to connect to IP Audio Stream!\nPlease check IP address, port and network connection.");

struct Fixture
{
    ScriptedPrompter prompter;
    MicrophoneSettingDialog dialog;
    Form form{dialog};

    explicit Fixture(SourceCheck check = checkWithin()) : dialog(nullptr, prompter, check) { dialog.open(); }

    QString values() const { return valuesOf(dialog.settings()); }

    void update() { QMetaObject::invokeMethod(&dialog, "updateSampleRateOptions"); }
};

} // namespace

class MicrophoneSettingDialogTest : public QObject
{
    Q_OBJECT

private slots:
    void handsBackWhatWasChosen()
    {
        Fixture f;
        f.form.type("vid", QStringLiteral("AbC1"));
        f.form.type("pid", QStringLiteral("00ff"));
        f.form.type("deviceName", QStringLiteral("Desk"));
        f.form.choose("usbVersion", QStringLiteral("3.0"));
        f.form.choose("uacVersion", QStringLiteral("UAC 2.0"));
        f.form.toggle("realTime");
        f.form.toggle("loop");
        f.form.type("path", sourceFile("tone.opus"));
        f.form.ok();
        const QString values = QStringLiteral("AbC1|00ff|Desk|1|2.0|rt|%1|2|48000|once");
        const QString chosen =
            values.arg(QFileInfo(sourceFile("tone.opus")).absoluteFilePath()); // Windows adds a drive
        QCOMPARE(f.values(), values.arg(sourceFile("tone.opus")));
        QCOMPARE(f.form.state(), QStringLiteral("accepted"));
        QCOMPARE(f.prompter.verify(), QString());

        Fixture next; // with the defaults until the user asks for more
        QVERIFY(next.values() != chosen);
        next.form.click("lastUsed");
        QCOMPARE(next.values(), chosen);
        QVERIFY(!next.form.isEnabled("usbVersion")); // as when UAC 2.0 is chosen by hand
    }

    void pastedTextStaysOneField()
    {
        Fixture f;
        for (const char* name : {"deviceName", "path", "ipAddress"})
            f.form.paste(name, QStringLiteral("a\nb"));
        QCOMPARE(f.values(), QStringLiteral("1d6b|0002|a b|0|1.0|-|a b|2|48000|loop"));
        f.form.toggle("ipCam");
        QCOMPARE(f.dialog.settings().source(), QStringLiteral("http://a b:8080/audio.aac"));
    }

    void versionsAndSourceLockEachOther()
    {
        Fixture f;
        const auto state = [&] {
            return QStringLiteral("%1%2 %3%4")
                .arg(f.form.chosen("uacVersion"),
                     f.form.isEnabled("uacVersion") ? QString() : QStringLiteral(" locked"),
                     f.form.chosen("usbVersion"),
                     f.form.isEnabled("usbVersion") ? QString() : QStringLiteral(" locked"));
        };
        f.form.choose("uacVersion", QStringLiteral("UAC 2.0"));
        QCOMPARE(state(), QStringLiteral("UAC 2.0 3.0 locked"));
        f.form.choose("uacVersion", QStringLiteral("UAC 1.0"));
        QCOMPARE(state(), QStringLiteral("UAC 1.0 3.0"));
        f.form.choose("uacVersion", QStringLiteral("UAC 2.0"));
        f.form.toggle("ipCam");
        QCOMPARE(state(), QStringLiteral("UAC 1.0 locked 3.0"));
        QVERIFY(f.form.shows("ipAddress") && f.form.shows("testNetwork") && !f.form.shows("path") &&
                !f.form.shows("browse"));
        QCOMPARE(f.dialog.settings().source(), QStringLiteral("http://127.0.0.1:8080/audio.aac"));
        f.form.toggle("file");
        QCOMPARE(state(), QStringLiteral("UAC 1.0 3.0"));
        QVERIFY(!f.form.shows("ipAddress") && f.form.shows("path") && f.form.shows("browse"));
        QCOMPARE(f.dialog.settings().source(), QStringLiteral("test_audio.wav"));
    }

    void ratesFollowTheChannels_data()
    {
        QTest::addColumn<int>("channels");
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::newRow("a rate that is no longer offered becomes 48000") << 6 << "192000"
                                                                        << "48000";
        QTest::newRow("a rate that is still offered stays") << 6 << "96000"
                                                            << "96000";
        QTest::newRow("five channels have the short list") << 5 << "8000"
                                                           << "48000";
        QTest::newRow("four channels have the long list") << 4 << "8000"
                                                          << "8000";
    }

    void ratesFollowTheChannels()
    {
        QFETCH(int, channels);
        QFETCH(QString, before);
        Fixture f;
        f.form.find<QComboBox>("sampleRate")->setCurrentText(before);
        f.form.find<QSpinBox>("channels")->setValue(channels);
        f.update();
        QTEST(f.form.chosen("sampleRate"), "after");
        QCOMPARE(f.form.find<QComboBox>("sampleRate")->count(), channels < 5 ? 9 : 3);
        QCOMPARE(f.dialog.settings().channels, channels);
    }

    void browsingFillsThePath()
    {
        Fixture f;
        const QString filter = QStringLiteral("Audio Files (*.wav *.mp3 *.aac *.flac *.ogg);;All Files (*.*)");
        f.prompter.expectOpenFile(QStringLiteral("Select Audio File"), filter, QStringLiteral("/a.wav"));
        f.prompter.expectOpenFile(QStringLiteral("Select Audio File"), filter, QString());
        f.form.click("browse");
        f.form.click("browse");
        QCOMPARE(f.prompter.verify(), QString());
        QCOMPARE(f.dialog.settings().source(), QStringLiteral("/a.wav"));
    }

    void checksAFilesFields_data()
    {
        QTest::addColumn<QString>("fields"); // NAME=TEXT, comma-separated, set by program
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("focus");
        const auto row = [](const char* name, const char* fields, const char* box, const char* answer,
                            const char* state, const char* focus) {
            QTest::newRow(name) << QString::fromLatin1(fields) << QString::fromLatin1(box)
                                << QString::fromLatin1(answer) << QString::fromLatin1(state)
                                << QString::fromLatin1(focus);
        };
        const char* invalidVid = "Invalid Input|Please enter a valid 4-digit USB VID.";
        const char* missing = "File Not Found|The selected audio file does not exist. Do you want to continue anyway?";
        row("three digits of a VID that no validator saw", "vid=1d6", invalidVid, "", "open", "vid");
        row("the VID comes before everything else", "vid=12345,pid=,deviceName=,path=", invalidVid, "", "open", "vid");
        row("then the PID", "pid=00021,deviceName=,path=", "Invalid Input|Please enter a valid 4-digit USB PID.", "",
            "open", "pid");
        row("then the name", "deviceName=,path=", "Invalid Input|Please enter a device name.", "", "open",
            "deviceName");
        row("then the path", "path=", "Invalid Input|Please select an audio file.", "", "open", "path");
        row("a missing file that the user does not want", "path=/missing.wav", missing, "no", "open", "path");
        row("a missing file that the user wants", "path=/missing.wav", missing, "yes", "accepted", "");
        row("four characters that are no digits are let through", "vid=zzzz,path=/", "", "", "accepted", "");
    }

    void checksAFilesFields()
    {
        QFETCH(QString, fields);
        QFETCH(QString, box);
        QFETCH(QString, answer);
        QFETCH(QString, state);
        QFETCH(QString, focus);
        Fixture f;
        const QStringList assignments = fields.split(QLatin1Char(','));
        for (const QString& assignment : assignments)
            f.form.set(assignment.section(QLatin1Char('='), 0, 0).toLatin1().constData(),
                       assignment.section(QLatin1Char('='), 1));
        f.form.find("loop")->setFocus();
        const QString title = box.section(QLatin1Char('|'), 0, 0);
        const QString text = box.section(QLatin1Char('|'), 1);
        if (!answer.isEmpty())
            f.prompter.expectQuestion(title, text, answer == QLatin1String("yes"));
        else if (!box.isEmpty())
            f.prompter.expectWarning(title, text);
        f.form.ok();
        QCOMPARE(f.prompter.verify(), QString());
        QCOMPARE(f.form.state(), state);
        if (!focus.isEmpty())
            QCOMPARE(f.dialog.focusWidget()->objectName(), focus);
    }

    void typedIdIsHeldToFourDigits()
    {
        Fixture f;
        QCOMPARE(f.form.type("vid", QStringLiteral("1d6b5")), QStringLiteral("1d6b"));
        QCOMPARE(f.form.type("vid", QStringLiteral("x1d6")), QStringLiteral("1d6"));
        QVERIFY(!f.form.find<QLineEdit>("vid")->hasAcceptableInput());
        f.prompter.expectWarning(QStringLiteral("Invalid Input"),
                                 QStringLiteral("Please enter a valid 4-digit USB VID."));
        QTest::keyClick(f.form.find("vid"), Qt::Key_Return);
        QCOMPARE(f.prompter.verify(), QString());
        f.form.cancel();
        QCOMPARE(f.form.state(), QStringLiteral("rejected"));
    }

    void acceptsOnlyAStreamThatOpens_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<LoopbackServer::Ending>("ending");
        QTest::addColumn<bool>("opens");
        using Ending = LoopbackServer::Ending;
        QTest::newRow("sound, whatever the other fields hold") << soundStream() << Ending::Close << true;
        QTest::newRow("pictures only") << pictureStream() << Ending::Close << false;
        QTest::newRow("a server that is silent") << QByteArray() << Ending::Stall << false;
    }

    void acceptsOnlyAStreamThatOpens()
    {
        QFETCH(QByteArray, answer);
        QFETCH(LoopbackServer::Ending, ending);
        QFETCH(bool, opens);
        const LoopbackServer server(answer, ending);
        QStringList asked;
        const SourceCheck inner = opens ? checkWithin() : checkWithin(std::chrono::milliseconds(300));
        Fixture f([&](const QString& source, SourceProbe::Kind kind) {
            asked << source;
            return inner(source, kind);
        });
        f.form.toggle("ipCam");
        f.form.type("port", portOf(server));
        f.form.set("deviceName", QString());
        f.form.set("vid", QStringLiteral("1"));
        if (!opens)
            f.prompter.expectWarning(QStringLiteral("Error"), kFailed);
        f.form.ok();
        QCOMPARE(f.prompter.verify(), QString());
        QCOMPARE(f.form.state(), opens ? QStringLiteral("accepted") : QStringLiteral("open"));
        if (!opens)
            QCOMPARE(f.dialog.focusWidget()->objectName(), QStringLiteral("ipAddress"));
        QCOMPARE(asked, QStringList{server.url("http", "/audio.opus")});
        QCOMPARE(f.dialog.settings().source(), server.url("http", "/audio.aac"));
    }

    void testsTheNetwork_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("box");
        const QString failed =
            QStringLiteral("Test Result|IP Audio Stream connection failed!\nPlease check IP address, "
                           "port and network connection.");
        const QString incomplete = kWarning + QLatin1Char('|') + kIncomplete;
        QTest::newRow("a stream that works")
            << "127.0.0.1"
            << "*" << QStringLiteral("Test Result|IP Audio Stream connection successful!\nIP: 127.0.0.1 Port: *");
        QTest::newRow("a port where nobody listens") << "127.0.0.1" << closedPort() << failed;
        QTest::newRow("an address with a space and a place mark") << "%2 x"
                                                                  << "9" << failed;
        QTest::newRow("no address") << ""
                                    << "9" << incomplete;
    }

    void testsTheNetwork()
    {
        QFETCH(QString, address);
        QFETCH(QString, port);
        QFETCH(QString, box);
        const LoopbackServer server(soundStream(), LoopbackServer::Ending::Close);
        Fixture f;
        f.form.toggle("ipCam");
        f.form.type("ipAddress", address);
        f.form.set("port", port.replace(QLatin1Char('*'), portOf(server)));
        const QString title = box.section(QLatin1Char('|'), 0, 0);
        const QString text = box.section(QLatin1Char('|'), 1).replace(QLatin1Char('*'), portOf(server));
        if (text.contains(QLatin1String("successful")))
            f.prompter.expectInformation(title, text);
        else
            f.prompter.expectWarning(title, text);
        f.form.press("testNetwork", Qt::Key_Return);
        QCOMPARE(f.prompter.verify(), QString());
        QCOMPARE(f.form.text("testNetwork"), QStringLiteral("Test Network"));
        QVERIFY(f.form.isEnabled("testNetwork"));
        QCOMPARE(f.dialog.focusWidget()->objectName(),
                 QString::fromLatin1(title == kWarning ? "ipAddress" : "testNetwork"));
        if (title == kWarning) {
            f.prompter.expectWarning(title, text);
            f.form.ok();
            QCOMPARE(f.prompter.verify(), QString());
        }
        QCOMPARE(f.form.state(), QStringLiteral("open"));
    }

    void tabFollowsTheForm()
    {
        Fixture f;
        QVERIFY(f.form.asksForAPathsWidth("path"));
        const QString order = f.form.tabOrder("vid", "loop"); // channels and rate are shown and cannot be set
        QCOMPARE(order, QStringLiteral("vid pid deviceName usbVersion uacVersion realTime file %1path browse loop")
                            .arg(f.form.tabStop("ipCam")));
        f.form.toggle("ipCam");
        QCOMPARE(f.form.tabOrder("ipCam", "loop"), QStringLiteral("ipCam ipAddress port testNetwork loop"));
    }
};

PLUGBOARD_SUITE(MicrophoneSettingDialogTest)
#include "microphone_setting_dialog_test.moc"
