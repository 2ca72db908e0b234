#include "app/device_table.h"
#include "app/main_window.h"
#include "app/script_commands.h"
#include "devices/device_record_manager.h"
#include "devices/device_type.h"
#include "dialogs/camera_setting_dialog.h"
#include "fido2/dialogs/device_detail_dialog.h"
#include "runtime/language.h"
#include "tests/support/kill_tool.h"
#include "tests/support/suite_registry.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

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

using Flow = QString (*)();

} // namespace

Q_DECLARE_METATYPE(Flow)

/// What comes out of a window for files, devices and scripts is the same in every language.
class FlowsTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { speak(Language::English, *qApp); }
    void whatComesOutDoesNotDependOnTheLanguage_data()
    {
        QTest::addColumn<Flow>("flow");
        QTest::addColumn<QString>("part"); ///< of the outcome: the flow has come to its end
        const auto row = [](const char* name, Flow flow, const char* outcome) {
            QTest::newRow(name) << flow << QString::fromLatin1(outcome);
        };
        row("camera", cameraFromFile, "/clips/a.mp4|27|-1|1366|768|30|0x0150|0|END");
        row("main window", mainWindow, "Device 2|102||||FIDO2");
        row("scripts", scripts, "\"label\": \"Camera\"");
    }

    void whatComesOutDoesNotDependOnTheLanguage()
    {
        QFETCH(Flow, flow);
        QFETCH(QString, part);
        const QString english = flow();
        QVERIFY2(english.contains(part), qPrintable(english));
        QVERIFY(speak(Language::SimplifiedChinese, *qApp));
        QCOMPARE(flow(), english);
    }
};

PLUGBOARD_SUITE(FlowsTest)
#include "flows_test.moc"
