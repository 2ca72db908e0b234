#include "app/device_rows.h"
#include "app/device_settings.h"
#include "app/device_table.h"
#include "app/main_window.h"
#include "app/script_commands.h"
#include "capture/decode/packet_columns.h"
#include "devices/device_record_manager.h"
#include "devices/device_type.h"
#include "dialogs/camera_setting_dialog.h"
#include "dialogs/microphone_setting_dialog.h"
#include "fido2/dialogs/credential_edit_dialog.h"
#include "fido2/dialogs/device_detail_dialog.h"
#include "fido2/dialogs/fido2_setting_dialog.h"
#include "fido2/dialogs/fido2_user_confirmation_dialog.h"
#include "runtime/language.h"
#include "tests/support/kill_tool.h"
#include "tests/support/suite_registry.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QJsonDocument>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

/// What comes out of a window for files, devices and scripts is the same in every language.
class FlowsTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { speak(Language::English, *qApp); }
    void whatComesOutDoesNotDependOnTheLanguage_data();
    void whatComesOutDoesNotDependOnTheLanguage();
};

namespace {

/// Says yes to every question and chooses one file.
class Agreeing final : public Prompter
{
public:
    void information(QWidget*, const QString&, const QString&) override { kinds += 'i'; }
    void warning(QWidget*, const QString&, const QString&, const QString&) override { kinds += 'w'; }
    bool question(QWidget*, const QString&, const QString&, const QString&) override
    {
        kinds += 'q';
        return true;
    }
    QString openFile(QWidget*, const QString&, const QString&, const QString&) override
    {
        return QStringLiteral("/clips/a.mp4");
    }
    QString saveFile(QWidget*, const QString&, const QString&, const QString&) override { return {}; }

    QByteArray kinds;
};

SourceProbeResult odd(const QString&, SourceProbe::Kind)
{
    SourceProbeResult found;
    found.opened = found.hasVideo = found.hasAudio = true;
    found.width = 1366;
    found.height = 768;
    found.frameRate = 30;
    found.channels = 2;
    found.sampleRate = 48000;
    return found;
}

template<typename Widget = QLineEdit>
Widget& part(const QWidget& window, const char* name)
{
    auto* found = window.findChild<Widget*>(QLatin1String(name));
    if (!found)
        qFatal("There is no widget %s.", name);
    return *found;
}

void click(const QWidget& window, const char* name)
{
    part<QAbstractButton>(window, name).click();
}

void pressOk(const QDialog& dialog)
{
    dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
}

Fido2Environment keyEnvironment(const QTemporaryDir& folder)
{
    QDir(folder.path()).mkpath(QStringLiteral("fido2"));
    return {folder.path(), [] { return QDateTime(QDate(2025, 1, 5), QTime(14, 30)); }};
}

/// A file's content, with the test's folder replaced, which is another one each time.
QString contentOf(const QString& path, const QTemporaryDir& folder)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly)
               ? QString::fromUtf8(file.readAll()).replace(folder.path(), QStringLiteral("~"))
               : QStringLiteral("no file");
}

QString linesOf(const QStringList& parameters, const Agreeing& prompter)
{
    return parameters.join(QLatin1Char('|')) + QLatin1String(prompter.kinds);
}

QString cameraFromFile()
{
    Agreeing prompter;
    CameraSettingDialog dialog(nullptr, prompter, odd);
    click(dialog, "browse");
    part<QComboBox>(dialog, "frameFormat").setCurrentIndex(3);
    part<QComboBox>(dialog, "usbVersion").setCurrentIndex(1);
    part<QComboBox>(dialog, "uvcVersion").setCurrentIndex(1);
    pressOk(dialog);
    return linesOf(dialog.settings().parameterList(), prompter);
}

QString microphoneFromFile()
{
    Agreeing prompter;
    MicrophoneSettingDialog dialog(nullptr, prompter, odd);
    part<QComboBox>(dialog, "uacVersion").setCurrentIndex(1);
    pressOk(dialog);
    return linesOf(dialog.settings().parameterList(), prompter);
}

void fillCredential(const QWidget& editor)
{
    for (const char* field : {"id", "rpId", "userName", "userId"})
        part(editor, field).setText(QStringLiteral("value of ") + QLatin1String(field));
    click(editor, "save");
}

QString key()
{
    const QTemporaryDir folder;
    Agreeing prompter;
    Fido2SettingDialog dialog(nullptr, keyEnvironment(folder), prompter);
    part(dialog, "serialNumber").setText(QStringLiteral("KEY-1"));
    part<QComboBox>(dialog, "usbVersion").setCurrentIndex(1);
    QTimer::singleShot(0, qApp, [] { fillCredential(*QApplication::activeModalWidget()); });
    click(dialog, "add");
    click(dialog, "save");
    click(dialog, "create");
    return linesOf(dialog.parameters().parameterList(), prompter).replace(folder.path(), QStringLiteral("~")) +
           contentOf(dialog.credentialsFilePath(), folder);
}

QString signIn()
{
    const QTemporaryDir folder;
    const char* data = R"({"isPasswordlessLogin":true,"availableCredentials":[{"id":"1"},{"id":"2"}]})";
    Fido2UserConfirmationDialog dialog(QStringLiteral("get_assertion"), QJsonDocument::fromJson(data).object(), nullptr,
                                       keyEnvironment(folder));
    QString answer;
    QObject::connect(&dialog, &Fido2UserConfirmationDialog::userConfirmed, &dialog,
                     [&answer](bool confirmed, const QJsonObject& result) {
                         answer = QString::number(confirmed) +
                                  QString::fromUtf8(QJsonDocument(result).toJson(QJsonDocument::Compact));
                     });
    dialog.findChild<QListWidget*>()->setCurrentRow(1);
    click(dialog, "confirm");
    return answer;
}

void saveRecords(const QString& folder)
{
    for (int code = 1; code <= 8; ++code) {
        DeviceRecord record;
        record.deviceType = code;
        record.deviceName = QStringLiteral("Device %1").arg(code);
        record.processId = 100 + code;
        record.publicParams = QStringList{{}, {}, {}, {}, {}, QStringLiteral("KEY-1"), {}};
        record.isRunning = true;
        DeviceRecordManager(folder, nullptr).saveRecord(record);
    }
}

TakeProcessSnapshot allRun()
{
    return [] { return ProcessSnapshot({101, 102, 103, 104, 105, 106, 107, 108}); };
}

/// Rows after a refresh, the key's details found by its row, and one device deleted.
QString mainWindow()
{
    const QTemporaryDir folder;
    saveRecords(folder.path());
    keyEnvironment(folder);
    QFile(folder.filePath(QStringLiteral("fido2/KEY-1_credentials.json"))).open(QIODevice::WriteOnly);
    Agreeing prompter;
    MainWindowServices services;
    services.recordsFolder = folder.path();
    services.takeSnapshot = allRun();
    services.killCommand = [](qint64) { return toolExiting(0); };
    MainWindow window(nullptr, prompter, services);
    DeviceTable& table = window.deviceTable();
    QStringList rows;
    int keyRow = -1;
    for (int row = 0; row < table.rowCount(); ++row) {
        rows << table.cellTexts(row).join(QLatin1Char('|'));
        if (table.cellTexts(row)[DeviceTable::kTypeColumn] == deviceTypeLabel(DeviceType::Fido2))
            keyRow = row;
    }
    rows.sort();
    QString seen;
    QTimer::singleShot(0, qApp, [&seen] {
        if (auto* details = qobject_cast<DeviceDetailDialog*>(QApplication::activeModalWidget())) {
            seen = QStringLiteral("details");
            details->reject();
        }
    });
    window.showDeviceDetails(keyRow);
    window.onTableItemDoubleClicked(table.item(keyRow, 0));
    return rows.join(QLatin1Char('\n')) + seen + QLatin1String(prompter.kinds) + QString::number(table.rowCount());
}

QString scripts()
{
    const QTemporaryDir folder;
    saveRecords(folder.path());
    const DeviceRecordManager records(folder.path(), allRun());
    QStringList lines = listDevices(records, false).output.split(QLatin1Char('\n'));
    lines.sort();
    QStringList members = listDevices(records, true).output.split(QLatin1Char('\n'));
    members.sort();
    return lines.join(QLatin1Char('\n')) + members.join(QLatin1Char('\n')) + deleteDevice(records, 7).error;
}

QString capture()
{
    UsbIPPacketInfo packet;
    packet.transferType = BulkTransfer;
    packet.data = "data";
    return packetRowText(packet);
}

using Flow = QString (*)();

} // namespace

Q_DECLARE_METATYPE(Flow)

void FlowsTest::whatComesOutDoesNotDependOnTheLanguage_data()
{
    QTest::addColumn<Flow>("flow");
    QTest::addColumn<QString>("part"); ///< of the outcome: the flow has come to its end
    const auto row = [](const char* name, Flow flow, const char* outcome) {
        QTest::newRow(name) << flow << QString::fromLatin1(outcome);
    };
    row("camera", cameraFromFile, "/clips/a.mp4|27|-1|1366|768|30|0x0150|0|END");
    row("microphone", microphoneFromFile, "|1|2.0|0|test_audio.wav|2|48000|1|ENDq");
    row("security key", key, "|1|KEY-1|");
    row("sign-in without user name", signIn, "\"selectedCredentialIndex\":1");
    row("main window", mainWindow, "Device 2|102||||FIDO2");
    row("scripts", scripts, "\"label\": \"Camera\"");
    row("packet", capture, "BLK");
}

void FlowsTest::whatComesOutDoesNotDependOnTheLanguage()
{
    QFETCH(Flow, flow);
    QFETCH(QString, part);
    const QString english = flow();
    QVERIFY2(english.contains(part), qPrintable(english));
    QVERIFY(speak(Language::SimplifiedChinese, *qApp));
    QCOMPARE(flow(), english);
}

PLUGBOARD_SUITE(FlowsTest)
#include "flows_test.moc"
