#include "dialogs/camera_setting_dialog.h"
#include "runtime/last_used.h"
#include "tests/dialogs/form.h"
#include "tests/dialogs/sources.h"
#include "tests/dialogs/values.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"

#include <QDragEnterEvent>
#include <QFileInfo>
#include <QLabel>
#include <QMimeData>
#include <QTimer>
#include <QUrl>

using Source = CameraSettings::Source;
Q_DECLARE_METATYPE(SourceProbeResult)

namespace {

const QString kUnreachable =
    QStringLiteral("Failed to connect to IP Camera!\nPlease check IP address, port and network connection.\n");
const QString kTestResult = QStringLiteral("Test Result");
const QString kPickFile = QStringLiteral("Select Video File");
const QString kFileFilter = QStringLiteral("Video Files (*.mp4 *.avi *.mov *.mkv *.h264 *.h265);;All Files (*)");

SourceProbeResult found(int width, int height, double rate)
{
    SourceProbeResult result;
    result.opened = result.hasVideo = true;
    result.width = width;
    result.height = height;
    result.frameRate = rate;
    return result;
}

/// An open dialog over a prompter of its own, which checks sources within a short time.
struct Fixture
{
    ScriptedPrompter prompter;
    CameraSettingDialog dialog;
    Form form{dialog};

    explicit Fixture(SourceCheck check = checkWithin(std::chrono::milliseconds(400))) : dialog(nullptr, prompter, check)
    {
        dialog.open();
    }

    QString values() const { return valuesOf(dialog.settings()); }
};

} // namespace

class CameraSettingDialogTest : public QObject
{
    Q_OBJECT

private slots:
    void fieldsRefuseWhatIsNoValue_data()
    {
        QTest::addColumn<QByteArray>("field");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("held"); // what the edit holds afterwards
        QTest::addColumn<bool>("acceptable");
        const auto row = [](const char* name, const char* field, const char* typed, const char* held, bool acceptable) {
            QTest::newRow(name) << QByteArray(field) << QString::fromLatin1(typed) << QString::fromLatin1(held)
                                << acceptable;
        };
        row("a fifth digit is held back", "vid", "0x12345", "0x1234", true);
        row("an id without prefix never starts", "vid", "1234", "", false);
        row("port 0 is refused", "port", "0", "", false);
        row("a leading zero is refused", "port", "080", "80", true);
        row("the highest port ends at its fifth digit", "port", "655351", "65535", true);
        row("one above it loses its last digit", "port", "65536", "6553", true);
    }

    void fieldsRefuseWhatIsNoValue()
    {
        QFETCH(QByteArray, field);
        QFETCH(QString, typed);
        QFETCH(bool, acceptable);
        Fixture f;
        QTEST(f.form.type(field, typed), "held");
        QCOMPARE(f.form.find<QLineEdit>(field)->hasAcceptableInput(), acceptable);
    }

    void handsBackWhatWasChosen_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("uvc");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* format, const char* uvc, const char* expected) {
            QTest::addRow("%s with UVC %s", format, uvc)
                << QString::fromLatin1(format) << QString::fromLatin1(uvc) << QString::fromLatin1(expected);
        };
        row("MJPEG", "1.5", "0xA|0x5678|Desk|1|/v.mp4|7|-1|1920x1080|120|0x0150|iso");
        row("NV12", "1.0", "0xA|0x5678|Desk|1|/v.mp4|0|23|1920x1080|120|0x0100|iso");
        row("H264", "1.0", "0xA|0x5678|Desk|1|/v.mp4|27|-1|1920x1080|120|0x0150|iso");
        row("H265", "1.0", "0xA|0x5678|Desk|1|/v.mp4|173|-1|1920x1080|120|0x0150|iso");
    }

    void handsBackWhatWasChosen()
    {
        QFETCH(QString, format);
        QFETCH(QString, uvc);
        Fixture f;
        f.form.type("vid", QStringLiteral("0xA"));
        f.form.type("deviceName", QStringLiteral("Desk"));
        f.form.type("path", QStringLiteral("/v.mp4"));
        f.form.choose("resolution", QStringLiteral("1920x1080"));
        f.form.choose("frameRate", QStringLiteral("120"));
        f.form.choose("usbVersion", QStringLiteral("USB3.0"));
        f.form.choose("frameFormat", format);
        f.form.choose("uvcVersion", uvc);
        f.form.toggle("isoActive");
        f.form.ok();
        QTEST(f.values(), "expected");
        QCOMPARE(f.form.state(), QStringLiteral("accepted"));
        QCOMPARE(f.prompter.verify(), QString());
    }

    void pastedTextStaysOneField()
    {
        Fixture f;
        for (const char* name : {"deviceName", "path", "ipAddress"})
            f.form.paste(name, QStringLiteral("a\nb"));
        QCOMPARE(f.values(), QStringLiteral("0x1234|0x5678|a b|0|a b|7|-1|640x480|25|0x0100|bulk"));
        f.form.toggle("ipCamera");
        QCOMPARE(f.dialog.settings().source(), QStringLiteral("http://a b:8080/video"));
    }

    void sourceDecidesWhatShows()
    {
        Fixture f;
        const auto shown = [&] {
            QStringList names;
            for (const char* name : {"path", "browse", "ipAddress", "port", "testNetwork"})
                if (f.form.shows(name))
                    names << QString::fromLatin1(name);
            names << (f.form.isChecked("isoActive") ? QStringLiteral("iso") : QStringLiteral("bulk"));
            return names.join(QLatin1Char(' '));
        };
        QCOMPARE(shown(), QStringLiteral("path browse bulk"));
        QVERIFY(f.form.asksForAPathsWidth("path")); // whatever the labels of a language need
        QVERIFY(!f.form.isEnabled("droidCam"));
        f.form.type("path", QStringLiteral("/v.mp4"));
        f.form.toggle("ipCamera");
        QCOMPARE(shown(), QStringLiteral("ipAddress port testNetwork iso"));
        QCOMPARE(f.dialog.settings().source(), QStringLiteral("http://127.0.0.1:8080/video"));
        f.form.toggle("isoActive");
        f.form.check("droidCam");
        QCOMPARE(shown(), QStringLiteral("ipAddress port testNetwork iso"));
        QCOMPARE(f.dialog.settings().source(), QStringLiteral("http://127.0.0.1:8080/video"));
        f.form.toggle("file");
        QCOMPARE(shown(), QStringLiteral("path browse bulk"));
        f.form.toggle("isoActive"); // the user's choice lasts until the source changes
        f.form.toggle("ipCamera");
        f.form.toggle("file");
        QCOMPARE(shown(), QStringLiteral("path browse bulk"));
        QCOMPARE(f.dialog.settings().source(), QStringLiteral("/v.mp4"));

        f.form.toggle("ipCamera");
        f.form.find<QAbstractButton>("ipCamera")->setAutoExclusive(false);
        f.form.toggle("ipCamera"); // no button is checked now
        QCOMPARE(shown(), QStringLiteral("path browse bulk"));
        QCOMPARE(f.dialog.settings().source(), QStringLiteral("/v.mp4"));
        f.form.ok();
        QCOMPARE(f.form.state(), QStringLiteral("accepted"));
    }

    void browsingTakesOverSizeAndRate()
    {
        Fixture f(checkWithin());
        const QString odd = sourceFile("odd.avi");
        f.prompter.expectOpenFile(kPickFile, kFileFilter, odd);
        f.prompter.expectOpenFile(kPickFile, kFileFilter, odd);
        f.prompter.expectOpenFile(kPickFile, kFileFilter, QString());
        f.form.click("browse");
        f.form.click("browse");
        f.form.click("browse");
        QCOMPARE(f.prompter.verify(), QString());
        QCOMPARE(f.form.listed("resolution"), QStringLiteral("1366x768 640x480 800x600 1024x768 1280x720 1920x1080"));
        QCOMPARE(f.values(), QStringLiteral("0x1234|0x5678|UVC Camera|0|%1|7|-1|1366x768|30|0x0100|bulk").arg(odd));

        // A file without video is taken as it is, and nothing is said.
        f.prompter.expectOpenFile(kPickFile, kFileFilter, sourceFile("tone.opus"));
        f.form.click("browse");
        QCOMPARE(f.prompter.verify(), QString());
        QCOMPARE(f.dialog.settings().source(), sourceFile("tone.opus"));
        QCOMPARE(f.form.chosen("resolution"), QStringLiteral("1366x768"));
    }

    void selectsWhatAProbeFound_data()
    {
        QTest::addColumn<SourceProbeResult>("result");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("rates");
        QTest::addColumn<QString>("chosen");
        const auto row = [](const char* name, const SourceProbeResult& result, const char* state, const char* rates,
                            const char* chosen) {
            QTest::newRow(name) << result << QString::fromLatin1(state) << QString::fromLatin1(rates)
                                << QString::fromLatin1(chosen);
        };
        row("a rate is rounded up from its half", found(800, 600, 29.5), "accepted", "25 30 50 60 120", "800x600@30");
        row("no rate leaves the size selected and fails", found(800, 600, 0), "rejected", "25 30 50 60 120",
            "800x600@25");
        row("no height is no size", found(800, 0, 30), "rejected", "25 30 50 60 120", "640x480@25");
    }

    void selectsWhatAProbeFound()
    {
        QFETCH(SourceProbeResult, result);
        QFETCH(QString, state);
        QStringList asked;
        Fixture f([&](const QString& source, SourceProbe::Kind) {
            asked << source;
            return result;
        });
        f.form.toggle("ipCamera");
        if (state == QLatin1String("rejected"))
            f.prompter.expectWarning(QStringLiteral("Error"), kUnreachable);
        f.form.ok();
        QCOMPARE(f.form.state(), state);
        QCOMPARE(f.prompter.verify(), QString());
        QTEST(f.form.listed("frameRate"), "rates");
        QTEST(f.form.chosen("resolution") + QLatin1Char('@') + f.form.chosen("frameRate"), "chosen");
        QCOMPARE(asked, QStringList{QStringLiteral("http://127.0.0.1:8080/video")});
    }

    void acceptsOnlyWhatOpens_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<LoopbackServer::Ending>("ending");
        QTest::addColumn<QString>("values"); // empty: rejected
        QTest::addColumn<QRegularExpression>("reason");
        QTest::newRow("a camera that sends pictures")
            << pictureStream() << LoopbackServer::Ending::Close << QStringLiteral("640x480 30")
            << QRegularExpression(QStringLiteral("^$"));
        QTest::newRow("sound only") << soundStream() << LoopbackServer::Ending::Close << QString()
                                    << QRegularExpression(QStringLiteral("^There are no pictures"));
        QTest::newRow("a server that is silent") << QByteArray() << LoopbackServer::Ending::Stall << QString()
                                                 << QRegularExpression(QStringLiteral("^no(thing came|.answer)"));
    }

    void acceptsOnlyWhatOpens()
    {
        QFETCH(QByteArray, answer);
        QFETCH(LoopbackServer::Ending, ending);
        QFETCH(QString, values);
        const LoopbackServer server(answer, ending);
        Fixture f(ending == LoopbackServer::Ending::Stall ? checkWithin(std::chrono::milliseconds(300))
                                                          : checkWithin());
        f.form.toggle("ipCamera");
        f.form.type("port", portOf(server));
        if (values.isEmpty())
            f.prompter.expectWarning(QStringLiteral("Error"), kUnreachable);
        f.form.ok();
        QCOMPARE(f.prompter.verify(), QString());
        QFETCH(QRegularExpression, reason);
        QVERIFY2(reason.match(f.prompter.lastRemark()).hasMatch(), qPrintable(f.prompter.lastRemark()));
        QCOMPARE(f.form.state(), values.isEmpty() ? QStringLiteral("rejected") : QStringLiteral("accepted"));
        if (!values.isEmpty())
            QCOMPARE(f.form.chosen("resolution") + QLatin1Char(' ') + f.form.chosen("frameRate"), values);
    }

    void testsTheNetwork_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<bool>("serves");
        QTest::addColumn<QString>("box");
        const auto row = [](const char* name, const char* address, bool serves, const char* box) {
            QTest::newRow(name) << QString::fromLatin1(address) << serves << QString::fromLatin1(box);
        };
        const char* failed =
            "Test Result|IP Camera connection failed!\nPlease check IP address, port and network connection.\n";
        row("IP camera that works", "127.0.0.1", true, "Test Result|IP Camera connection successful!\n");
        row("IP camera that refuses", "127.0.0.1", false, failed);
        row("an address that makes no URL", "[a b", false, failed);
        row("no address", "", true, "Warning|Please enter IP address and port");
    }

    void testsTheNetwork()
    {
        QFETCH(QString, address);
        QFETCH(bool, serves);
        QFETCH(QString, box);
        const LoopbackServer server(pictureStream(), LoopbackServer::Ending::Close);
        Fixture f(checkWithin());
        f.form.check("ipCamera");
        f.form.type("ipAddress", address);
        f.form.type("port", serves ? portOf(server) : closedPort());
        const QString title = box.section(QLatin1Char('|'), 0, 0);
        const QString text = box.section(QLatin1Char('|'), 1);
        if (text.contains(QLatin1String("successful")))
            f.prompter.expectInformation(title, text);
        else
            f.prompter.expectWarning(title, text);
        f.form.click("testNetwork");
        QCOMPARE(f.prompter.verify(), QString());
        QCOMPARE(f.prompter.lastRemark().isEmpty(), !text.contains(QLatin1String("failed")));
        QCOMPARE(f.form.text("testNetwork"), QStringLiteral("Test Network"));
        QVERIFY(f.form.isEnabled("testNetwork"));
        QCOMPARE(f.form.state(), QStringLiteral("open"));

        if (address.isEmpty()) {
            f.prompter.expectWarning(title, text);
            f.form.ok();
            QCOMPARE(f.form.state(), QStringLiteral("open"));
            QCOMPARE(f.prompter.verify(), QString());
        }
    }

    void showsThePictureOfASource()
    {
        const LoopbackServer server(pictureStream(), LoopbackServer::Ending::Close);
        Fixture f(checkWithin());
        const auto* preview = f.form.find<QLabel>("preview");
        const auto picture = [preview] { return preview->pixmap(Qt::ReturnByValue); };
        f.prompter.expectOpenFile(kPickFile, kFileFilter, sourceFile("odd.avi"));
        f.form.click("browse");
        const QSize size = f.dialog.size();
        QTRY_VERIFY(!picture().isNull());
        QCOMPARE(f.dialog.size(), size);
        QCOMPARE(picture().width() / picture().height(), 1); // 16 : 9, rounded down
        const QImage shown = picture().toImage();
        QVERIFY(shown.pixelColor(2, 2) != shown.pixelColor(shown.width() / 2, shown.height() / 2)); // a test pattern
        f.form.type("path", QStringLiteral("/other.avi"));
        QVERIFY(picture().isNull());

        f.form.check("ipCamera");
        f.form.type("port", portOf(server));
        f.prompter.expectInformation(kTestResult, QStringLiteral("IP Camera connection successful!\n"));
        f.form.click("testNetwork");
        QTRY_VERIFY(!picture().isNull());
        f.form.check("file");
        f.prompter.expectOpenFile(kPickFile, kFileFilter, sourceFile("tone.opus"));
        f.form.click("browse");
        QCOMPARE(preview->text(), QStringLiteral("No picture"));
        QCOMPARE(f.prompter.verify(), QString());
    }

    void takesAFileThatIsDropped()
    {
        Fixture f(checkWithin());
        QMimeData dragged;
        dragged.setUrls({QUrl::fromLocalFile(sourceFile("odd.avi"))});
        for (const char* where : {"path", "deviceName"}) {
            f.form.check("ipCamera");
            QWidget* target = f.form.find(where);
            QDragEnterEvent enter(QPoint(1, 1), Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
            QCoreApplication::sendEvent(target, &enter);
            QDropEvent drop(QPoint(1, 1), Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
            QCoreApplication::sendEvent(target, &drop);
            QTRY_COMPARE(f.form.chosen("resolution"), QStringLiteral("1366x768"));
            QTRY_COMPARE(f.dialog.settings().source(), sourceFile("odd.avi"));
            f.form.choose("resolution", QStringLiteral("640x480"));
        }
        QCOMPARE(f.dialog.settings().deviceName, QStringLiteral("UVC Camera"));
    }

    void fillsInWhatWasLastUsed()
    {
        rememberLastUsed(QStringLiteral("camera"), {});
        const QString chosen = QStringLiteral("0xA|0x5678|Désk|1|%1|0|23|1366x768|120|0x0150|iso");
        for (const char* source : {"file", "ipCamera"}) {
            const bool isFile = source == QByteArray("file");
            {
                Fixture f([](const QString&, SourceProbe::Kind) { return found(1366, 768, 120); });
                QCOMPARE(f.form.isEnabled("lastUsed"), !isFile); // nothing is kept before the first
                f.form.check(source);
                f.form.type("vid", QStringLiteral("0xA"));
                f.form.set("deviceName", QStringLiteral("Désk"));
                f.form.type("path", QStringLiteral("/a b.mp4"));
                f.form.type("ipAddress", QStringLiteral("::1"));
                f.form.choose("usbVersion", QStringLiteral("USB3.0"));
                f.form.choose("frameFormat", QStringLiteral("NV12"));
                f.form.choose("uvcVersion", QStringLiteral("1.5"));
                f.form.check("isoActive");
                f.form.find<QComboBox>("resolution")->insertItem(0, QStringLiteral("1366x768"));
                f.form.find<QComboBox>("resolution")->setCurrentIndex(0);
                f.form.choose("frameRate", QStringLiteral("120"));
                f.form.ok();
                QCOMPARE(f.form.state(), QStringLiteral("accepted"));
            }
            Fixture f;
            QCOMPARE(f.values(), QStringLiteral("0x1234|0x5678|UVC Camera|0||7|-1|640x480|25|0x0100|bulk"));
            f.form.click("lastUsed");
            const QString kept = QFileInfo(QStringLiteral("/a b.mp4")).absoluteFilePath(); // Windows adds a drive
            QCOMPARE(f.values(), chosen.arg(isFile ? kept : QStringLiteral("http://::1:8080/video")));
        }
    }

    void droidCamTestNeverReportsIntoAClosedDialog()
    {
        for (const bool close : {false, true}) {
            bool checked = false;
            Fixture f([&](const QString&, SourceProbe::Kind) {
                checked = true;
                return SourceProbeResult();
            });
            f.form.check("droidCam");
            f.form.click("testNetwork");
            auto* timer = f.dialog.findChild<QTimer*>(QStringLiteral("droidCamTest"));
            QCOMPARE(timer->interval(), 2000);
            QVERIFY(timer->isActive());
            QCOMPARE(f.form.text("testNetwork"), QStringLiteral("Testing..."));
            QVERIFY(!f.form.isEnabled("testNetwork"));
            QVERIFY(!checked);
            if (close) {
                f.form.ok();
                QCOMPARE(f.form.state(), QStringLiteral("accepted"));
                QVERIFY(!timer->isActive());
                continue;
            }
            timer->start(1); // no need to wait for two seconds
            f.prompter.expectInformation(
                kTestResult, QStringLiteral("HTTP connection successful!\nURL: http://127.0.0.1:8080/video"));
            f.form.set("port", QStringLiteral("9")); // the URL is that of the test
            QTRY_COMPARE(f.prompter.verify(), QString());
            QCOMPARE(f.form.text("testNetwork"), QStringLiteral("Test Network"));
            QVERIFY(f.form.isEnabled("testNetwork"));
            QVERIFY(!checked);
        }
    }

    /// A remark that comes and goes; it keeps nobody from pressing OK.
    void saysWhatTheBusCarries()
    {
        Fixture f;
        QVERIFY(!f.form.shows("busLimit"));
        f.form.choose("resolution", QStringLiteral("1920x1080"));
        f.form.choose("frameFormat", QStringLiteral("YUV420P"));
        QVERIFY(f.form.shows("busLimit"));
        QCOMPARE(f.form.find<QLabel>("busLimit")->text(),
                 QStringLiteral(
                     "The bus cannot carry this. At this size it carries at most 17 pictures a second, at this rate "
                     "at most 1588x892."));
        f.form.choose("usbVersion", QStringLiteral("USB3.0"));
        QVERIFY(!f.form.shows("busLimit"));
        f.form.choose("usbVersion", QStringLiteral("USB2.0"));
        QVERIFY(f.form.shows("busLimit"));
        f.form.ok();
        QCOMPARE(f.form.state(), QStringLiteral("accepted"));
    }

    void canBeUsedWithoutAMouse()
    {
        Fixture f;
        QVERIFY(QTest::qWaitForWindowActive(&f.dialog));
        const QString order = f.form.tabOrder("file", "isoActive");
        QCOMPARE(order,
                 QStringLiteral("file %1path browse resolution frameRate uvcVersion usbVersion frameFormat vid pid "
                                "deviceName isoActive")
                     .arg(f.form.tabStop("ipCamera")));
        // Enter is the button's that has the focus, and OK's elsewhere.
        f.prompter.expectOpenFile(kPickFile, kFileFilter, QString());
        f.form.press("browse", Qt::Key_Return);
        QCOMPARE(f.form.state(), QStringLiteral("open"));
        f.form.toggle("ipCamera");
        QCOMPARE(f.form.tabOrder("ipCamera", "resolution"),
                 QStringLiteral("ipCamera ipAddress port testNetwork resolution"));
        f.form.type("port", QString());
        for (const char* where : {"testNetwork", "vid"}) {
            f.prompter.expectWarning(QStringLiteral("Warning"), QStringLiteral("Please enter IP address and port"));
            f.form.press(where, Qt::Key_Return);
            QCOMPARE(f.dialog.focusWidget()->objectName(), QStringLiteral("port"));
        }
        QCOMPARE(f.prompter.verify(), QString());
        QTest::keyClick(&f.dialog, Qt::Key_Escape);
        QCOMPARE(f.form.state(), QStringLiteral("rejected"));
    }
};

PLUGBOARD_SUITE(CameraSettingDialogTest)
#include "camera_setting_dialog_test.moc"
