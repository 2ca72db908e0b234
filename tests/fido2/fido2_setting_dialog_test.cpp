#include "fido2/dialogs/credential_texts.h"
#include "fido2/dialogs/fido2_setting_dialog.h"
#include "fido2/file/json_file.h"
#include "runtime/shown_text.h"
#include "tests/fido2/fido2_test_support.h"
#include "tests/support/log_lines.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDragEnterEvent>
#include <QFileSystemWatcher>
#include <QJsonDocument>
#include <QLabel>
#include <QMimeData>
#include <QTableWidget>

class Fido2SettingDialogTest : public QObject
{
    Q_OBJECT

private slots:
    void theSerialNumberNamesTheFile();
    void refusesToCreate_data();
    void refusesToCreate();
    void createsWithWhatWasTyped();
    void editsInMemoryAndSavesOnRequest();
    void saysWhatIsMissing();
    void choosesAFile();
    void keepsWhatOthersWroteMeanwhile();
    void anEditStaysThatCredentials();
    void asksBeforeChangesAreDropped();
    void sortsAndSearches();
    void showsAPartOfManyAndKeepsAll();
    void takesAFileThatIsDropped();
};

namespace {

const QString kSuccess = QStringLiteral("Success");
const QString kWarning = QStringLiteral("Warning");
const QString kError = QStringLiteral("Error");

/// Fills the required fields of the credential editor that opens next and saves it.
void fillEditor(const QString& id)
{
    whenModal([id](QWidget& editor) {
        for (const char* field : {"id", "rpId", "userName", "userId"})
            part(editor, field)->setText(id);
        click(editor, "save");
    });
}

/// Whether it takes what is dragged onto it.
bool drop(QWidget& target, const QMimeData& dragged)
{
    const QPoint place = target.rect().center();
    QDragEnterEvent enter(place, Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
    enter.ignore();
    QCoreApplication::sendEvent(&target, &enter);
    QDropEvent drop(place, Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&target, &drop);
    return enter.isAccepted();
}

QTableWidget* table(const QWidget& dialog)
{
    return part<QTableWidget>(dialog, "credentials");
}

} // namespace

void Fido2SettingDialogTest::theSerialNumberNamesTheFile()
{
    const KeyFolder folder;
    const Fido2SettingDialog dialog(nullptr, folder.environment());
    const QString first = dialog.parameters().serialNumber;
    QVERIFY(first.startsWith(QStringLiteral("FIDO2_20250105143000_")));
    QCOMPARE(dialog.parameters().parameterList().join(QLatin1Char('|')),
             QStringLiteral("2|0x1234|0x5678|FIDO2 Security Key|0|%1|%2|1|END")
                 .arg(first, folder.keyPath(first + QStringLiteral("_credentials.json"))));
    const QString path = folder.keyPath(QStringLiteral("mine_credentials.json"));
    part(dialog, "serialNumber")->setText(QStringLiteral(" mine "));
    QCOMPARE(dialog.credentialsFilePath(), path);
    QCOMPARE(part<QLabel>(dialog, "path")->text(), QStringLiteral("Credentials file: ") + path);
    QCOMPARE(dialog.parameters().serialNumber, QStringLiteral("mine"));
    part(dialog, "serialNumber")->clear();
    QCOMPARE(dialog.credentialsFilePath(), folder.keyPath(QStringLiteral("_credentials.json")));

    // What a save would replace is told before it.
    folder.write(folder.keyPath(QStringLiteral("S1_credentials.json")), "{\"credentials\":[1,2,3]}");
    folder.write(folder.keyPath(QStringLiteral("S2_credentials.json")), "no JSON");
    const auto state = [&](const QString& serial) {
        part(dialog, "serialNumber")->setText(serial);
        return part<QLabel>(dialog, "fileState")->text();
    };
    QVERIFY(state(QStringLiteral("S1")).contains(QStringLiteral("exists with 3 credentials, not loaded")));
    QVERIFY(state(QStringLiteral("S2")).contains(QStringLiteral("cannot be read")));
    QCOMPARE(state(QStringLiteral("S3")), QString());
    click(dialog, "generate");
    QVERIFY(dialog.credentialsFilePath().contains(QStringLiteral("/FIDO2_20250105143000_")));
}

void Fido2SettingDialogTest::refusesToCreate_data()
{
    QTest::addColumn<QString>("vid");
    QTest::addColumn<QString>("pid");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("complaint");
    QTest::addColumn<QByteArray>("focus");
    const auto row = [](const char* name, const char* vid, const char* pid, const char* device, const char* complaint,
                        const char* focus) {
        QTest::newRow(name) << QString::fromLatin1(vid) << QString::fromLatin1(pid) << QString::fromLatin1(device)
                            << QString::fromLatin1(complaint) << QByteArray(focus);
    };
    row("blank vendor id, told first", "  ", "", "", "Please enter USB VID", "vid");
    row("blank product id", "1234", " ", "", "Please enter USB PID", "pid");
    row("blank name before wrong ids", "1234", "x", " ", "Please enter device name", "deviceName");
    row("upper-case X", "0X1234", "0x1", "n", "VID and PID must start with '0x'", "vid");
    row("only one prefix", "0x1", "5678", "n", "VID and PID must start with '0x'", "pid");
    row("blank before the prefix, which the parameter list would carry", " 0x1", "0x1", "n",
        "VID and PID must start with '0x'", "vid");
    row("blank behind the prefix", "0x 1", "0x1", "n", "Invalid VID or PID format", "vid");
    row("prefix alone", "0x", "0x1", "n", "Invalid VID or PID format", "vid");
    row("no hexadecimal digit", "0x1", "0x12g4", "n", "Invalid VID or PID format", "pid");
    row("sign after the prefix", "0x-1", "0x1", "n", "Invalid VID or PID format", "vid");
}

void Fido2SettingDialogTest::refusesToCreate()
{
    QFETCH(QString, vid);
    QFETCH(QString, pid);
    QFETCH(QString, name);
    QFETCH(QString, complaint);
    QFETCH(QByteArray, focus);
    const KeyFolder folder;
    ScriptedPrompter prompter;
    Fido2SettingDialog dialog(nullptr, folder.environment(), prompter);
    dialog.show();
    part(dialog, "vid")->setText(vid);
    part(dialog, "pid")->setText(pid);
    part(dialog, "deviceName")->setText(name);
    prompter.expectWarning(kWarning, complaint);
    QTest::keyClick(part(dialog, "serialNumber"), Qt::Key_Return);
    QCOMPARE(prompter.verify(), QString());
    QCOMPARE(dialog.focusWidget(), part(dialog, focus));
    QVERIFY(dialog.isVisible());
}

void Fido2SettingDialogTest::createsWithWhatWasTyped()
{
    const KeyFolder folder;
    ScriptedPrompter prompter;
    Fido2SettingDialog dialog(nullptr, folder.environment(), prompter);
    part(dialog, "vid")->setText(QStringLiteral("0x12345 "));       // for the device process to trim
    part(dialog, "deviceName")->setText(QStringLiteral("%1\n<b>")); // a line end is no end of the parameter
    part(dialog, "serialNumber")->setText(QStringLiteral("S1\n"));
    part<QComboBox>(dialog, "usbVersion")->setCurrentIndex(1);
    part<QCheckBox>(dialog, "supportsPin")->setChecked(false);
    prompter.expectInformation(
        kSuccess,
        QStringLiteral("FIDO2 device configuration is valid.\n\nDevice will be created with the following "
                       "settings:\n• VID: 0x12345 \n• PID: 0x5678\n• USB Version: 3.0\n• Device Name: %1 <b>\n"
                       "• Support PIN: No\n• Credentials File: ") +
            folder.keyPath(QStringLiteral("S1_credentials.json")));
    click(dialog, "create");
    QCOMPARE(prompter.verify(), QString());
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(dialog.parameters().parameterList().join(QLatin1Char('|')),
             QStringLiteral("2|0x12345 |0x5678|%1 <b>|1|S1|") + folder.keyPath(QStringLiteral("S1_credentials.json|")) +
                 QStringLiteral("0|END"));

    Fido2SettingDialog next(nullptr, folder.environment(), prompter);
    QCOMPARE(next.parameters().vid, QStringLiteral("0x1234"));
    click(next, "lastUsed");
    Fido2Parameters kept = next.parameters();
    QVERIFY(kept.serialNumber.startsWith(QStringLiteral("FIDO2_"))); // which no two keys share
    kept.serialNumber = dialog.parameters().serialNumber;
    kept.credentialsPath = dialog.parameters().credentialsPath;
    QCOMPARE(kept.parameterList(), dialog.parameters().parameterList());
}

void Fido2SettingDialogTest::editsInMemoryAndSavesOnRequest()
{
    const KeyFolder folder;
    ScriptedPrompter prompter;
    Fido2SettingDialog dialog(nullptr, folder.environment(), prompter);
    dialog.show();
    const QString path = dialog.credentialsFilePath();
    for (const QString& id : {QStringLiteral("aa"), QStringLiteral("bb"), QStringLiteral("cc")}) {
        prompter.expectInformation(kSuccess, QStringLiteral("New credential added successfully"));
        fillEditor(id);
        click(dialog, "add");
    }
    QCOMPARE(table(dialog)->rowCount(), 3);
    QCOMPARE(table(dialog)->item(1, 0)->toolTip(), QStringLiteral("bb"));
    QVERIFY(!QFileInfo::exists(path));
    prompter.expectInformation(kSuccess, QStringLiteral("Credentials saved successfully"));
    click(dialog, "save");
    const QByteArray saved = fileBytes(path);
    QCOMPARE(readJsonFile(path).root.value(QStringLiteral("credentials")).toArray(), dialog.credentials());

    fillEditor(QStringLiteral("dd"));
    prompter.expectInformation(kSuccess, QStringLiteral("Credential updated successfully"));
    emit table(dialog)->itemDoubleClicked(table(dialog)->item(2, 4));
    fillEditor(QStringLiteral("ee"));
    prompter.expectInformation(kSuccess, QStringLiteral("Credential updated successfully"));
    QTest::keyClick(table(dialog), Qt::Key_Return); // the row is still selected
    QCOMPARE(table(dialog)->item(2, 0)->text(), QStringLiteral("ee"));
    table(dialog)->selectRow(0);
    const QString question = QStringLiteral("Are you sure you want to delete this credential?");
    prompter.expectQuestion(QStringLiteral("Confirm Delete"), question, false);
    click(dialog, "delete");
    QCOMPARE(dialog.credentials().size(), 3);
    prompter.expectQuestion(QStringLiteral("Confirm Delete"), question, true);
    prompter.expectInformation(kSuccess, QStringLiteral("Credential deleted successfully"));
    click(dialog, "delete");
    QCOMPARE(table(dialog)->item(0, 0)->text(), QStringLiteral("bb"));
    QCOMPARE(fileBytes(path), saved); // nothing but "Save Credentials" writes
    QCOMPARE(prompter.verify(), QString());
}

void Fido2SettingDialogTest::saysWhatIsMissing()
{
    const KeyFolder folder;
    ScriptedPrompter prompter;
    Fido2SettingDialog dialog(nullptr, folder.environment(), prompter);
    prompter.expectWarning(kWarning, QStringLiteral("Please select a credential to edit"));
    click(dialog, "edit");
    table(dialog)->setRowCount(2); // rows that no credential stands behind
    table(dialog)->selectRow(1);
    prompter.expectWarning(kWarning, QStringLiteral("Invalid row selected"));
    click(dialog, "edit");
    click(dialog, "refresh");
    QCOMPARE(table(dialog)->rowCount(), 0);
    prompter.expectInformation(
        QStringLiteral("Info"),
        QStringLiteral("No credential files found in: %1").arg(folder.path(QStringLiteral("fido2"))));
    click(dialog, "selectFile");
    part(dialog, "serialNumber")->setText(QStringLiteral("S1"));
    const QString path = dialog.credentialsFilePath();
    prompter.expectWarning(kError, QStringLiteral("Cannot open credentials file: %1").arg(path));
    dialog.loadDeviceInfoFromCredentialsFile();
    folder.write(path, "{");
    prompter.expectWarning(kError, QStringLiteral("Invalid JSON format: unterminated object"));
    dialog.loadDeviceInfoFromCredentialsFile();
    QVERIFY(QDir(folder.path(QStringLiteral("fido2"))).removeRecursively());
    prompter.expectWarning(kError, QStringLiteral("Cannot write to credentials file: %1").arg(path));
    click(dialog, "save");
    QVERIFY(prompter.lastRemark().contains(QStringLiteral("is made with the first key")));
    prompter.expectInformation(
        QStringLiteral("Info"),
        QStringLiteral("FIDO2 directory not found: %1").arg(folder.path(QStringLiteral("fido2"))));
    click(dialog, "selectFile");
    QCOMPARE(prompter.verify(), QString());
}

void Fido2SettingDialogTest::choosesAFile()
{
    const KeyFolder folder;
    folder.write(folder.keyPath(QStringLiteral("a_credentials.json")), "no JSON");
    // The file's name differs from the serial number in it: the chosen path must stay.
    const QString chosen = folder.keyPath(QStringLiteral("b_credentials.json"));
    folder.write(chosen, QJsonDocument(json("{'deviceInfo':{'serialNumber':'S9','vid':'0x9','usbVersion':'3.0',"
                                            "'supportsPin':false},'credentials':[{'id':'x'},{'id':'y'}]}"))
                             .toJson());
    ScriptedPrompter prompter;
    Fido2SettingDialog dialog(nullptr, folder.environment(), prompter);
    QStringList seen;
    whenModal([&](QWidget& chooser) {
        seen << chooser.windowTitle() << part<QLabel>(chooser, "found")->text();
        auto* files = part<QTableWidget>(chooser, "files");
        QVERIFY(!part<QPushButton>(chooser, "select")->isEnabled());
        for (int row = 0; row < files->rowCount(); ++row) {
            for (int column = 0; column < files->columnCount(); ++column)
                seen << files->item(row, column)->text();
        }
        files->selectRow(1);
        click(chooser, "select");
    });
    click(dialog, "selectFile");
    QCOMPARE(seen.join(QLatin1Char('|')),
             QStringLiteral("Select Credentials File|Found 2 credential files. Please select one:|"
                            "Unknown|Unknown|Unknown|0|S9|No|Unknown|2"));
    QCOMPARE(dialog.credentialsFilePath(), chosen);
    QCOMPARE(part<QLabel>(dialog, "path")->text(), QStringLiteral("Credentials file: ") + chosen);
    QCOMPARE(table(dialog)->rowCount(), 2);
    const QString list = QStringLiteral("2|0x9|0x5678|%1|1|S9|%2|0|END");
    const auto parameters = [&dialog] { return dialog.parameters().parameterList().join(QLatin1Char('|')); };
    QCOMPARE(parameters(), list.arg(QStringLiteral("FIDO2 Security Key"), chosen));
    // What is of no use changes nothing.
    dialog.extractDeviceInfoFromCredential(
        json("{'deviceInfo':{'serialNumber':'','vid':7,'deviceName':'New','usbVersion':'1.1','supportsPin':'no'}}"));
    QCOMPARE(parameters(), list.arg(QStringLiteral("New"), chosen));

    QCOMPARE(prompter.verify(), QString());
}

void Fido2SettingDialogTest::keepsWhatOthersWroteMeanwhile()
{
    const KeyFolder folder;
    const QString path = folder.keyPath(QStringLiteral("S1_credentials.json"));
    // Its own serial number names another file, which must not become the one that is saved.
    const char* head = "{'deviceInfo':{'serialNumber':'S2'},'credentials':";
    QVERIFY(writeJsonFile(path, json(QByteArray(head) + "[{'id':'a'}]}")));
    ScriptedPrompter prompter;
    Fido2SettingDialog dialog(nullptr, folder.environment(), prompter);
    part(dialog, "serialNumber")->setText(QStringLiteral("S1"));
    dialog.loadDeviceInfoFromCredentialsFile();
    QCOMPARE(dialog.credentialsFilePath(), path);

    QVERIFY(writeJsonFile(path, json(QByteArray(head) + "[{'id':'a','sigCnt':1},{'id':'b'}]}")));
    QTRY_COMPARE(table(dialog)->rowCount(), 2); // without a save
    QVERIFY(part<QLabel>(dialog, "fileState")->text().contains(QStringLiteral("changed meanwhile")));
    QVERIFY(writeJsonFile(path, json(QByteArray(head) + "[{'id':'a','sigCnt':2},{'id':'b'},{'id':'c'}]}")));
    prompter.expectInformation(kSuccess, QStringLiteral("Credentials saved successfully"));
    const LogLines logged(LogLines::Least::Warning);
    dialog.onSaveCredentials();                   // before the watcher could tell
    QCOMPARE(logged.text().trimmed(), QString()); // it waits for no lock of its own
    QCOMPARE(prompter.verify(), QString());
    QCOMPARE(compact(QJsonObject{{QStringLiteral("x"), readJsonFile(path).root.value(QStringLiteral("credentials"))}}),
             QByteArray("{'x':[{'id':'a','sigCnt':2},{'id':'b'},{'id':'c'}]}"));
}

/// What others do to the file while the editor is open moves the credentials.
void Fido2SettingDialogTest::anEditStaysThatCredentials()
{
    const KeyFolder folder;
    const QString path = folder.keyPath(QStringLiteral("S1_credentials.json"));
    const auto write = [&path](const char* credentials) {
        return writeJsonFile(path, json(QByteArray("{'credentials':") + credentials + "}"));
    };
    QVERIFY(write("[{'id':'aa'},{'id':'bb','rp':{'id':'r'},'sigCnt':1,'user':{'id':'cc','name':'u'}}]"));
    ScriptedPrompter prompter;
    Fido2SettingDialog dialog(nullptr, folder.environment(), prompter);
    part(dialog, "serialNumber")->setText(QStringLiteral("S1"));
    dialog.loadDeviceInfoFromCredentialsFile();
    table(dialog)->selectRow(1);
    whenModal([&](QWidget& editor) {
        const auto* watcher = dialog.findChild<QFileSystemWatcher*>();
        const QSignalSpy replaced(watcher, &QFileSystemWatcher::fileChanged);
        const QSignalSpy touched(watcher, &QFileSystemWatcher::directoryChanged);
        QVERIFY(write("[{'id':'bb','rp':{'id':'r'},'sigCnt':2,'user':{'id':'cc','name':'u'}},{'id':'dd'}]"));
        QTRY_VERIFY(!replaced.isEmpty() || !touched.isEmpty());
        part(editor, "description")->setText(QStringLiteral("mine"));
        click(editor, "save");
    });
    prompter.expectInformation(kSuccess, QStringLiteral("Credential updated successfully"));
    click(dialog, "edit");
    QCOMPARE(prompter.verify(), QString());
    QStringList seen;
    for (const QJsonValue& credential : dialog.credentials())
        seen << credential[QStringLiteral("id")].toString() + credential[QStringLiteral("description")].toString() +
                    QString::number(credential[QStringLiteral("sigCnt")].toInt());
    QCOMPARE(seen.join(QLatin1Char(' ')), QStringLiteral("bbmine2 dd0")); // the count that they took further stays
    QCOMPARE(table(dialog)->selectedItems().value(0)->text(), QStringLiteral("bb"));
}

void Fido2SettingDialogTest::asksBeforeChangesAreDropped()
{
    const KeyFolder folder;
    folder.write(folder.keyPath(QStringLiteral("A_credentials.json")), R"({"credentials":[{"id":"aa"}]})"); // the first
    ScriptedPrompter prompter;
    Fido2SettingDialog dialog(nullptr, folder.environment(), prompter);
    dialog.show();
    const auto ask = [&](bool drop) {
        prompter.expectQuestion(
            QStringLiteral("Unsaved Changes"),
            QStringLiteral("The credentials were changed and not saved. Do you want to drop the changes?"), drop);
    };
    const auto* mark = part<QLabel>(dialog, "unsaved");
    QVERIFY(!mark->isVisible());
    prompter.expectInformation(kSuccess, QStringLiteral("New credential added successfully"));
    fillEditor(QStringLiteral("bb"));
    click(dialog, "add");
    QVERIFY(mark->isVisible());
    ask(false);
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QVERIFY(dialog.isVisible());
    ask(false);
    click(dialog, "create");
    QVERIFY(dialog.isVisible());
    const auto chooseFile = [&] {
        whenModal([](QWidget& chooser) {
            part<QTableWidget>(chooser, "files")->selectRow(0);
            click(chooser, "select");
        });
        click(dialog, "selectFile");
    };
    ask(false);
    chooseFile();
    QCOMPARE(table(dialog)->item(0, 0)->text(), QStringLiteral("bb"));
    prompter.expectInformation(kSuccess, QStringLiteral("Credentials saved successfully"));
    click(dialog, "save");
    QVERIFY(!mark->isVisible());
    chooseFile(); // nothing to ask for
    QCOMPARE(table(dialog)->item(0, 0)->text(), QStringLiteral("aa"));
    table(dialog)->selectRow(0);
    prompter.expectQuestion(QStringLiteral("Confirm Delete"),
                            QStringLiteral("Are you sure you want to delete this credential?"), true);
    prompter.expectInformation(kSuccess, QStringLiteral("Credential deleted successfully"));
    QTest::keyClick(table(dialog), Qt::Key_Delete);
    ask(true);
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(prompter.verify(), QString());
}

void Fido2SettingDialogTest::sortsAndSearches()
{
    const KeyFolder folder;
    folder.write(folder.keyPath(QStringLiteral("S1_credentials.json")),
                 R"({"credentials":[{"id":"aa","sigCnt":9},{"id":"bb","sigCnt":10,"rp":{"name":"Shop"}},
                     {"id":"cc","sigCnt":2},{"id":"AA "},{"id":"xyz"}]})");
    ScriptedPrompter prompter;
    Fido2SettingDialog dialog(nullptr, folder.environment(), prompter);
    dialog.show();
    part(dialog, "serialNumber")->setText(QStringLiteral("S1"));
    dialog.loadDeviceInfoFromCredentialsFile();
    const auto ids = [&] {
        QStringList shown;
        for (int row = 0; row < table(dialog)->rowCount(); ++row)
            shown << table(dialog)->item(row, 0)->text().trimmed();
        return shown.join(QLatin1Char(' '));
    };
    QCOMPARE(ids(), QStringLiteral("aa bb cc AA xyz"));
    QCOMPARE(part<QLabel>(dialog, "idWarning")->text(),
             QStringLiteral("Credentials with the id of another one: 2. "
                            "Ids that are not hexadecimal: 1; a key leaves such credentials out."));
    table(dialog)->sortByColumn(int(CredentialColumn::SignatureCount), Qt::DescendingOrder);
    QCOMPARE(ids(), QStringLiteral("bb aa cc AA xyz")); // by number, those without one last
    // Rows stand for their credential wherever they are.
    table(dialog)->selectRow(2);
    whenModal([](QWidget& editor) { QCOMPARE(part(editor, "id")->text(), QStringLiteral("cc")); });
    click(dialog, "edit");

    part(dialog, "search")->setText(QStringLiteral("shop"));
    QCOMPARE(ids(), QStringLiteral("bb"));
    QCOMPARE(part<QLabel>(dialog, "rest")->text(), QStringLiteral("1 of 5 credentials match"));
    // What a search hides is not selected any more.
    prompter.expectWarning(kWarning, QStringLiteral("Please select a credential to delete"));
    QTest::keyClick(table(dialog), Qt::Key_Delete);
    part(dialog, "search")->clear();
    QCOMPARE(ids(), QStringLiteral("bb aa cc AA xyz"));
    QCOMPARE(prompter.verify(), QString());
}

void Fido2SettingDialogTest::showsAPartOfManyAndKeepsAll()
{
    constexpr int kCount = kMostShownItems + 3;
    const KeyFolder folder;
    const QString path = folder.keyPath(QStringLiteral("S1_credentials.json"));
    QJsonArray all;
    for (int number = 0; number < kCount; ++number)
        all.append(QJsonObject{{QStringLiteral("id"), QStringLiteral("%1").arg(number, 6, 16, QLatin1Char('0'))}});
    QVERIFY(writeJsonFile(path, {{QStringLiteral("credentials"), all}}));
    ScriptedPrompter prompter;
    Fido2SettingDialog dialog(nullptr, folder.environment(), prompter);
    part(dialog, "serialNumber")->setText(QStringLiteral("S1"));
    dialog.loadDeviceInfoFromCredentialsFile();
    QCOMPARE(table(dialog)->rowCount(), kMostShownItems);
    QCOMPARE(part<QLabel>(dialog, "rest")->text(), QStringLiteral("3 more are not shown"));
    const QString last = all.last()[QStringLiteral("id")].toString();
    part(dialog, "search")->setText(last); // which no row had
    QCOMPARE(table(dialog)->rowCount(), 1);
    table(dialog)->selectRow(0);
    whenModal([&](QWidget& editor) { QCOMPARE(part(editor, "id")->text(), last); });
    click(dialog, "edit");
    prompter.expectInformation(kSuccess, QStringLiteral("Credentials saved successfully"));
    click(dialog, "save");
    QCOMPARE(readJsonFile(path).root.value(QStringLiteral("credentials")).toArray(), all);
    QCOMPARE(credentialSummary(path, all).count(QStringLiteral("Credential ")), kMostShownItems);
    QCOMPARE(prompter.verify(), QString());
}

void Fido2SettingDialogTest::takesAFileThatIsDropped()
{
    const KeyFolder folder;
    const QString path = folder.path(QStringLiteral("elsewhere.json"));
    folder.write(path, R"({"credentials":[{"id":"aa"}]})");
    Fido2SettingDialog dialog(nullptr, folder.environment());
    dialog.show();
    for (QWidget* target : {static_cast<QWidget*>(&dialog), static_cast<QWidget*>(part(dialog, "deviceName"))}) {
        QMimeData dragged;
        dragged.setUrls({QUrl(QStringLiteral("http://127.0.0.1/x.json"))});
        QVERIFY(!drop(*target, dragged) || target != &dialog);
        dragged.setUrls({QUrl::fromLocalFile(path)});
        QVERIFY(drop(*target, dragged));
        QTRY_COMPARE(dialog.credentialsFilePath(), path);
        click(dialog, "generate");
    }
    QCOMPARE(table(dialog)->rowCount(), 1);
    QVERIFY(!part(dialog, "deviceName")->text().contains(path));
}

PLUGBOARD_SUITE(Fido2SettingDialogTest)
#include "fido2_setting_dialog_test.moc"
