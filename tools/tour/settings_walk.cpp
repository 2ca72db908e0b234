// settings_walk.cpp: the tour's walk through the settings of cameras and microphones.
#include "app/device_table.h"
#include "app/main_window.h"
#include "app/script_commands.h"
#include "devices/device_record_manager.h"
#include "dialogs/camera_setting_dialog.h"
#include "tools/tour/settings_hands.h"
#include "tools/tour/tour.h"
#include "tools/tour/walks.h"

#include <QComboBox>
#include <QLabel>
#include <QUrl>
#include <QtTest>

namespace {

class SettingsWalk
{
public:
    explicit SettingsWalk(Tour& tour) : m_tour(tour), m_window(nullptr, m_prompter) {}

    void run();

private:
    void cameraFromFile();
    void cameraFromStream();
    void testWhileItRuns();
    void microphoneFromFile();
    void create(const char* slot, const QString& step, const std::function<QString(QWidget&)>& fill);
    QString created(const QString& name, const QString& parameters);
    void answerTest(const QString& step, const QString& text);
    void endAllDevices();

    Tour& m_tour;
    ChoosingPrompter m_prompter;
    MainWindow m_window;
    DeviceRecordManager m_records;
    Clips m_clips;
};

void SettingsWalk::run()
{
    endAllDevices(); // an earlier tour may have been cut off
    m_window.refreshDevices();
    m_window.show();
    m_tour.step(QStringLiteral("camera-from-file"), [this] {
        cameraFromFile();
        return created(QStringLiteral("Film"),
                       QStringLiteral("1|0x1234|0x5678|Film|0|%1|27|-1|1366|768|30|0x0150|0|END")
                           .arg(m_clips.path("bars_1366x768.mkv")));
    });
    m_tour.step(QStringLiteral("camera-testing"), [this] {
        testWhileItRuns();
        return QStringLiteral("the button says so while the source is opened");
    });
    m_tour.step(QStringLiteral("camera-from-stream"), [this] {
        cameraFromStream();
        return QStringLiteral("created with the stream's size");
    });
    m_tour.step(QStringLiteral("microphone-from-file"), [this] {
        microphoneFromFile();
        return created(QStringLiteral("Tape"),
                       QStringLiteral("3|1d6b|0002|Tape|1|2.0|1|%1|2|48000|1|END").arg(m_clips.path("tone.opus")));
    });
    m_tour.step(QStringLiteral("end-cameras-and-microphones"), [this] {
        endAllDevices();
        Tour::require(m_records.listRecords().isEmpty(), QStringLiteral("records are left"));
        return QStringLiteral("no process and no record is left");
    });
}

void SettingsWalk::cameraFromFile()
{
    create("onCreateCamera", QStringLiteral("camera-settings"), [this](QWidget& dialog) {
        m_tour.picture(dialog);
        m_tour.step(QStringLiteral("camera-settings-probed"), [&] {
            m_prompter.fileToChoose = m_clips.path("bars_1366x768.mkv");
            click(dialog, "browse");
            const auto* sizes = find<QComboBox>(dialog, "resolution");
            Tour::require(sizes->currentText() == QLatin1String("1366x768") && sizes->currentIndex() == 0,
                          QStringLiteral("selected: ") + sizes->currentText());
            type(dialog, "deviceName", QStringLiteral("Film"));
            find<QComboBox>(dialog, "frameFormat")->setCurrentText(QStringLiteral("H264"));
            const auto* preview = find<QLabel>(dialog, "preview");
            Tour::waitUntil([preview] { return !preview->pixmap(Qt::ReturnByValue).isNull(); },
                            QStringLiteral("the first picture of the file"));
            m_tour.picture(dialog);
            return QStringLiteral("1366x768 stands on top of the resolutions");
        });
        pressOk(dialog);
        return QStringLiteral("accepted");
    });
}

void SettingsWalk::cameraFromStream()
{
    const LoopbackServer server = m_clips.serve("video/x-matroska", "bars_1366x768.mkv");
    const QUrl url(server.url("http", "/video"));
    create("onCreateCamera", QStringLiteral("camera-settings-network"), [&](QWidget& dialog) {
        click(dialog, "ipCamera");
        type(dialog, "port", QString::number(url.port()));
        type(dialog, "deviceName", QStringLiteral("Door"));
        answerTest(QStringLiteral("camera-test"), QStringLiteral("IP Camera connection successful!\n"));
        click(dialog, "testNetwork");
        m_tour.picture(dialog);
        pressOk(dialog);
        return QStringLiteral("accepted");
    });
    created(QStringLiteral("Door"),
            QStringLiteral("1|0x1234|0x5678|Door|0|%1|7|-1|1366|768|30|0x0100|1|END").arg(url.toString()));
}

/// The picture is taken by the check that the dialog waits for.
void SettingsWalk::testWhileItRuns()
{
    const LoopbackServer server = m_clips.serve("video/x-matroska", "bars_1366x768.mkv");
    CameraSettingDialog* shown = nullptr;
    CameraSettingDialog dialog(&m_window, m_prompter, [&](const QString& source, SourceProbe::Kind kind) {
        m_tour.picture(*shown);
        return checkWithin()(source, kind);
    });
    shown = &dialog;
    dialog.show();
    Tour::require(QTest::qWaitForWindowExposed(&dialog), QStringLiteral("the dialog never showed"));
    click(dialog, "ipCamera");
    type(dialog, "port", QString::number(QUrl(server.url("http", "")).port()));
    answerTest(QStringLiteral("camera-testing-ended"), QStringLiteral("IP Camera connection successful!\n"));
    click(dialog, "testNetwork");
}

void SettingsWalk::microphoneFromFile()
{
    create("onCreateMicrophone", QStringLiteral("microphone-settings"), [this](QWidget& dialog) {
        m_tour.picture(dialog);
        m_tour.step(QStringLiteral("microphone-settings-uac2"), [&] {
            m_prompter.fileToChoose = m_clips.path("tone.opus");
            click(dialog, "browse");
            type(dialog, "deviceName", QStringLiteral("Tape"));
            find<QComboBox>(dialog, "uacVersion")->setCurrentIndex(1);
            click(dialog, "realTime");
            Tour::require(!find<QComboBox>(dialog, "usbVersion")->isEnabled(), QStringLiteral("USB is not locked"));
            m_tour.picture(dialog);
            return QStringLiteral("UAC 2.0 locks USB 3.0");
        });
        pressOk(dialog);
        return QStringLiteral("accepted");
    });
}

void SettingsWalk::create(const char* slot, const QString& step, const std::function<QString(QWidget&)>& fill)
{
    m_tour.whenWindowOpens(step, fill);
    Tour::require(QMetaObject::invokeMethod(&m_window, slot), QString::fromLatin1(slot));
}

/// Waits for the device's record and checks what it was created with.
QString SettingsWalk::created(const QString& name, const QString& parameters)
{
    QString found;
    Tour::waitUntil(
        [&] {
            const auto devices = m_records.restoreDevices();
            for (const auto& device : devices)
                if (device.record.deviceName == name)
                    found = device.record.publicParams.join(QLatin1Char('|'));
            return !found.isEmpty();
        },
        QStringLiteral("the record of ") + name);
    Tour::require(found == parameters, QStringLiteral("created with ") + found);
    return found.replace(m_clips.folder(), QStringLiteral("..."));
}

void SettingsWalk::answerTest(const QString& step, const QString& text)
{
    m_tour.answerBox(step, QStringLiteral("Test Result"), text, QMessageBox::Ok);
}

void SettingsWalk::endAllDevices()
{
    const auto devices = m_records.restoreDevices();
    for (const auto& device : devices) {
        const ScriptResult result = deleteDevice(m_records, device.record.processId);
        // One that was ended just before may still have been seen.
        Tour::require(result.exitCode == 0 || !m_records.isProcessRunning(device.record.processId), result.error);
    }
}

} // namespace

void walkSettings(Tour& tour)
{
    SettingsWalk(tour).run();
}
