// settings_warnings_walk.cpp: the tour's walk through all that the settings of cameras and microphones say no to, and
// through a test while it runs.
#include "app/main_window.h"
#include "devices/device_record_manager.h"
#include "dialogs/camera_setting_dialog.h"
#include "dialogs/microphone_setting_dialog.h"
#include "tools/tour/settings_hands.h"
#include "tools/tour/tour.h"
#include "tools/tour/walks.h"

#include <QUrl>
#include <QtTest>

namespace {

const QString kClosedPort = QStringLiteral("9");

class SettingsWarningsWalk
{
public:
    explicit SettingsWarningsWalk(Tour& tour) : m_tour(tour), m_window(nullptr, m_prompter) {}

    void run();

private:
    void testWhileItRuns();
    QString warnOfCamera(QWidget& dialog);
    QString warnOfMicrophoneFile(QWidget& dialog);
    QString warnOfMicrophoneStream(QWidget& dialog);
    void expectBox(const char* step, const char* title, const char* text,
                   QMessageBox::StandardButton button = QMessageBox::Ok);
    template<typename Dialog>
    void pictureDuringTest(const char* step, const char* network, quint16 port, const char* answer);
    void open(const char* slot, const char* step, QString (SettingsWarningsWalk::*react)(QWidget&));

    Tour& m_tour;
    ChoosingPrompter m_prompter;
    MainWindow m_window;
    Clips m_clips;
};

void SettingsWarningsWalk::run()
{
    m_window.show();
    m_tour.step(QStringLiteral("tests-while-they-run"), [this] {
        testWhileItRuns();
        return QStringLiteral("the button waits for the end of the test");
    });
    m_tour.step(QStringLiteral("camera-warnings"), [this] {
        open("onCreateCamera", "camera-that-says-no", &SettingsWarningsWalk::warnOfCamera);
        return QStringLiteral("cancelled after each warning");
    });
    m_tour.step(QStringLiteral("microphone-warnings"), [this] {
        open("onCreateMicrophone", "microphone-that-says-no", &SettingsWarningsWalk::warnOfMicrophoneFile);
        open("onCreateMicrophone", "microphone-stream-that-says-no", &SettingsWarningsWalk::warnOfMicrophoneStream);
        Tour::require(DeviceRecordManager().restoreDevices().empty(), QStringLiteral("a device was created"));
        return QStringLiteral("cancelled after each warning, nothing was created");
    });
}

void SettingsWarningsWalk::testWhileItRuns()
{
    const LoopbackServer camera = m_clips.serve("video/x-matroska", "bars_1366x768.mkv");
    pictureDuringTest<CameraSettingDialog>("camera-testing", "ipCamera", quint16(QUrl(camera.url("http", "")).port()),
                                           "IP Camera connection successful!\n");
    const LoopbackServer microphone = m_clips.serve("audio/ogg", "tone.opus");
    const quint16 port = quint16(QUrl(microphone.url("http", "")).port());
    pictureDuringTest<MicrophoneSettingDialog>(
        "microphone-testing", "ipCam", port,
        ("IP Audio Stream connection successful!\nIP: 127.0.0.1 Port: " + QByteArray::number(port)).constData());
}

/// The picture is taken by the check that the dialog waits for.
template<typename Dialog>
void SettingsWarningsWalk::pictureDuringTest(const char* step, const char* network, quint16 port, const char* answer)
{
    m_tour.step(QString::fromLatin1(step), [&] {
        Dialog* shown = nullptr;
        Dialog dialog(&m_window, m_prompter, [&](const QString& source, SourceProbe::Kind kind) {
            m_tour.picture(*shown);
            return checkWithin()(source, kind);
        });
        shown = &dialog;
        dialog.show();
        Tour::require(QTest::qWaitForWindowExposed(&dialog), QStringLiteral("the dialog never showed"));
        click(dialog, network);
        type(dialog, "port", QString::number(port));
        expectBox((QByteArray(step) + "-ended").constData(), "Test Result", answer);
        click(dialog, "testNetwork");
        return QStringLiteral("the button says so while the source is opened");
    });
}

QString SettingsWarningsWalk::warnOfCamera(QWidget& dialog)
{
    const char* const incomplete = "Please enter IP address and port";
    click(dialog, "ipCamera");
    type(dialog, "ipAddress", QString());
    expectBox("camera-without-address", "Warning", incomplete);
    pressOk(dialog);
    expectBox("camera-test-without-address", "Warning", incomplete);
    click(dialog, "testNetwork");
    type(dialog, "ipAddress", QStringLiteral("127.0.0.1"));
    type(dialog, "port", kClosedPort);
    expectBox("camera-test-failed", "Test Result",
              "IP Camera connection failed!\nPlease check IP address, port and network connection.\n");
    click(dialog, "testNetwork");
    m_tour.picture(dialog);
    pressCancel(dialog);
    return QStringLiteral("no address, and no camera at it");
}

QString SettingsWarningsWalk::warnOfMicrophoneFile(QWidget& dialog)
{
    const struct
    {
        const char* step;
        const char* field;
        const char* wrong;
        const char* text;
        const char* right;
    } rows[] = {
        {"microphone-short-vid", "vid", "1d6", "Please enter a valid 4-digit USB VID.", "1d6b"},
        {"microphone-short-pid", "pid", "", "Please enter a valid 4-digit USB PID.", "0002"},
        {"microphone-without-name", "deviceName", "", "Please enter a device name.", "Tape"},
        {"microphone-without-file", "path", "", "Please select an audio file.", "no such file.wav"},
    };
    for (const auto& row : rows) {
        type(dialog, row.field, QString::fromLatin1(row.wrong));
        expectBox(row.step, "Invalid Input", row.text);
        pressOk(dialog);
        Tour::require(dialog.focusWidget() == findPart(dialog, row.field), QStringLiteral("the focus is elsewhere"));
        type(dialog, row.field, QString::fromLatin1(row.right));
    }
    expectBox("microphone-file-not-found", "File Not Found",
              "The selected audio file does not exist. Do you want to continue anyway?", QMessageBox::No);
    pressOk(dialog);
    m_tour.picture(dialog);
    pressCancel(dialog);
    return QStringLiteral("each field by its turn, then the file");
}

QString SettingsWarningsWalk::warnOfMicrophoneStream(QWidget& dialog)
{
    click(dialog, "ipCam");
    type(dialog, "port", QString());
    expectBox("microphone-without-port", "Warning", "Please enter IP address and port");
    pressOk(dialog);
    type(dialog, "port", kClosedPort);
    expectBox("microphone-test-failed", "Test Result",
              "IP Audio Stream connection failed!\nPlease check IP address, port and network connection.");
    click(dialog, "testNetwork");
    expectBox("microphone-not-reached", "Error",
              "Failed to connect to IP Audio Stream!\nPlease check IP address, port and network connection.");
    pressOk(dialog);
    Tour::require(dialog.isVisible(), QStringLiteral("the dialog has closed"));
    m_tour.picture(dialog);
    pressCancel(dialog);
    return QStringLiteral("no port, and no stream at it");
}

void SettingsWarningsWalk::expectBox(const char* step, const char* title, const char* text,
                                     QMessageBox::StandardButton button)
{
    m_tour.answerBox(QString::fromLatin1(step), QString::fromLatin1(title), QString::fromLatin1(text), button);
}

void SettingsWarningsWalk::open(const char* slot, const char* step, QString (SettingsWarningsWalk::*react)(QWidget&))
{
    m_tour.whenWindowOpens(QString::fromLatin1(step),
                           [this, react](QWidget& dialog) { return (this->*react)(dialog); });
    Tour::require(QMetaObject::invokeMethod(&m_window, slot), QString::fromLatin1(slot));
}

} // namespace

void walkSettingsWarnings(Tour& tour)
{
    SettingsWarningsWalk(tour).run();
}
