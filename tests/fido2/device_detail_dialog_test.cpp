#include "fido2/dialogs/device_detail_dialog.h"
#include "fido2/file/json_file.h"
#include "tests/fido2/fido2_test_support.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QLabel>
#include <QTextEdit>

namespace {

const QString kError = QStringLiteral("Error");
const QString kClearQuestion =
    QStringLiteral("Are you sure you want to clear this device?\n\nThis will delete:\n- Credentials file\n"
                   "- All related key files\n- All certificates\n\nThis action cannot be undone!");

} // namespace

class DeviceDetailDialogTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<KeyFolder>();
        m_path = m_folder->keyPath(QStringLiteral("S1_credentials.json"));
        const QJsonObject root =
            json("{'deviceInfo':{'serialNumber':'S1','deviceName':'Key','vid':'0x1','pid':'0x2','usbVersion':'3.0',"
                 "'supportsPin':true},'pinInfo':{'pinRetryCount':2},'credentials':[{'rp':{'id':'r'}}]}");
        m_folder->write(m_path, QJsonDocument(root).toJson());
    }

    void showsTheDevice()
    {
        const DeviceDetailDialog dialog(m_path, QStringLiteral("S1"), nullptr, m_folder->environment());
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Device Details - S1"));
        QStringList texts;
        for (const char* field : {"serialNumber", "deviceName", "vid", "pid", "usbVersion", "supportsPin"})
            texts << part(dialog, field)->text();
        QCOMPARE(texts.join(QLatin1Char('|')), QStringLiteral("S1|Key|0x1|0x2|3.0|Yes"));
        QVERIFY(part<QTextEdit>(dialog, "summary")
                    ->toPlainText()
                    .startsWith(
                        QStringLiteral("Total Credentials: 1\nCredentials File: %1\n\nCredential 1:\n").arg(m_path)));
    }

    void tellsOfThePinAsItIsNow()
    {
        const DeviceDetailDialog dialog(m_path, QStringLiteral("S1"), nullptr, m_folder->environment());
        const auto* state = part<QLabel>(dialog, "pinState");
        QCOMPARE(state->text(), QStringLiteral("No PIN is set."));
        // As the key's process writes it: at once in place of the old file.
        QVERIFY(writeJsonFile(m_path, json("{'pinInfo':{'pinSet':true,'pinRetryCount':7,'maxPinRetries':8}}")));
        QTRY_COMPARE(state->text(), QStringLiteral("A PIN is set, 7 of 8 attempts are left."));
        QVERIFY(writeJsonFile(m_path, json("{'pinInfo':{'pinSet':true,'pinRetryCount':0}}")));
        QTRY_VERIFY(state->text().contains(QStringLiteral("blocked")));
        QVERIFY(writeJsonFile(m_path, json("{'deviceInfo':{'pinHash':'ab','maxPinRetries':3}}"))); // an older layout
        QTRY_COMPARE(state->text(), QStringLiteral("A PIN is set, 3 of 3 attempts are left."));
    }

    void hintsAtPinsWhileTheyAreTyped()
    {
        const DeviceDetailDialog dialog(m_path, QStringLiteral("S1"), nullptr, m_folder->environment());
        const auto hint = [&](const QString& typed) {
            part(dialog, "pin")->setText(typed);
            return part<QLabel>(dialog, "pinHint")->text();
        };
        QCOMPARE(hint(QStringLiteral("1")), QStringLiteral("Too short: 3 more characters are needed."));
        QVERIFY(hint(QStringLiteral("12345")).startsWith(QStringLiteral("Short PINs are easy to guess")));
        QCOMPARE(hint(QStringLiteral("123456")), QString());
        QVERIFY(hint(QStringLiteral("é").repeated(32)).contains(QStringLiteral("63 bytes of a PIN; this one has 64")));
        QCOMPARE(hint({}), QString());

        const auto hidden = [&] {
            return part(dialog, "pin")->echoMode() == QLineEdit::Password &&
                   part(dialog, "confirmPin")->echoMode() == QLineEdit::Password;
        };
        QVERIFY(hidden());
        click(dialog, "reveal");
        QCOMPARE(part(dialog, "pin")->echoMode(), QLineEdit::Normal);
        QCOMPARE(part(dialog, "confirmPin")->echoMode(), QLineEdit::Normal);
        click(dialog, "reveal");
        QVERIFY(hidden());
    }

    void tellsWhatCannotBeRead()
    {
        ScriptedPrompter prompter;
        const QString missing = m_folder->path(QStringLiteral("none.json"));
        prompter.expectWarning(kError, QStringLiteral("Cannot open credentials file: %1").arg(missing));
        const DeviceDetailDialog none(missing, QStringLiteral("S1"), nullptr, m_folder->environment(), prompter);
        m_folder->write(m_path, "[]");
        prompter.expectWarning(kError, QStringLiteral("Invalid credentials file format"));
        const DeviceDetailDialog bad(m_path, QStringLiteral("S1"), nullptr, m_folder->environment(), prompter);
        QCOMPARE(prompter.verify(), QString());
    }

    void refusesWrongPins_data()
    {
        QTest::addColumn<QString>("pin");
        QTest::addColumn<QString>("confirmation");
        QTest::addColumn<QString>("complaint");
        QTest::addColumn<QByteArray>("focus");
        const auto row = [](const char* pin, const char* confirmation, const char* complaint, const char* focus) {
            QTest::newRow(complaint) << QString::fromLatin1(pin) << QString::fromLatin1(confirmation)
                                     << QString::fromLatin1(complaint) << QByteArray(focus);
        };
        row("", "1234", "Please enter a PIN", "pin");
        row("123", "124", "PIN must be 4-63 characters long", "pin");
        row("1234", "1235", "PIN confirmation does not match", "confirmPin");
        row("1234", "1234", "Invalid credentials file format", "confirmPin"); // where Enter was pressed
    }

    void refusesWrongPins()
    {
        QFETCH(QString, pin);
        QFETCH(QString, confirmation);
        QFETCH(QString, complaint);
        QFETCH(QByteArray, focus);
        ScriptedPrompter prompter;
        DeviceDetailDialog dialog(m_path, QStringLiteral("S1"), nullptr, m_folder->environment(), prompter);
        m_folder->write(m_path, "[]");
        dialog.show();
        part(dialog, "pin")->setText(pin);
        part(dialog, "confirmPin")->setText(confirmation);
        part(dialog, "confirmPin")->setFocus();
        prompter.expectWarning(kError, complaint);
        QTest::keyClick(part(dialog, "confirmPin"), Qt::Key_Return);
        QCOMPARE(prompter.verify(), QString());
        QCOMPARE(dialog.focusWidget(), part(dialog, focus));
        QCOMPARE(fileBytes(m_path), QByteArray("[]"));
        QVERIFY(dialog.isVisible());
    }

    void setsThePinInTheFileAsItIsNow()
    {
        ScriptedPrompter prompter;
        const DeviceDetailDialog dialog(m_path, QStringLiteral("S1"), nullptr, m_folder->environment(), prompter);
        // The device process adds a credential and a member of its own while the dialog is open.
        m_folder->write(m_path,
                        R"({"credentials":[{"id":"a"},{"id":"b"}],"own":1,"pinInfo":{"pinRetryCount":1,"own":2}})");
        prompter.expectInformation(QStringLiteral("Success"), QStringLiteral("PIN has been set successfully"));
        click(dialog, "reveal");
        for (const char* field : {"pin", "confirmPin"})
            part(dialog, field)->setText(QStringLiteral("1234"));
        click(dialog, "setPin");
        QCOMPARE(prompter.verify(), QString());
        QCOMPARE(part<QLabel>(dialog, "pinState")->text(), QStringLiteral("A PIN is set, 8 of 8 attempts are left."));
        QCOMPARE(part(dialog, "pin")->echoMode(), QLineEdit::Password); // the next one is hidden again
        QCOMPARE(part(dialog, "pin")->text() + part(dialog, "confirmPin")->text(), QString());
        part(dialog, "pin")->undo();
        QCOMPARE(part(dialog, "pin")->text(), QString());
        QCOMPARE(compact(readJsonFile(m_path).root),
                 QByteArray("{'credentials':[{'id':'a'},{'id':'b'}],'own':1,'pinInfo':{'maxPinRetries':8,'own':2,"
                            "'pinHash':'03ac674216f3e15c761ee1a5e255f067','pinPrivateKeyFile':'S1_pin_private.pem',"
                            "'pinPublicKeyFile':'S1_pin_public.pem','pinRetryCount':8,'pinSet':true}}"));
    }

    void clearsOnlyOnYes()
    {
        ScriptedPrompter prompter;
        const DeviceDetailDialog dialog(m_path, QStringLiteral("S1"), nullptr, m_folder->environment(), prompter);
        const QString title = QStringLiteral("Confirm Clear Device");
        prompter.expectQuestion(title, kClearQuestion, false);
        click(dialog, "clear");
        QVERIFY(QFileInfo::exists(m_path));
        prompter.expectQuestion(title, kClearQuestion, true);
        prompter.expectInformation(QStringLiteral("Success"), QStringLiteral("Device has been cleared successfully"));
        click(dialog, "clear");
        QVERIFY(!QFileInfo::exists(m_path));
        QCOMPARE(part(dialog, "serialNumber")->text(), QStringLiteral("N/A")); // what is gone is shown no more
        QVERIFY(part<QTextEdit>(dialog, "summary")->toPlainText().startsWith(QStringLiteral("Total Credentials: 0\n")));
        QVERIFY(!part<QPushButton>(dialog, "setPin")->isEnabled());
        QCOMPARE(prompter.verify(), QString());
    }

private:
    QString m_path;
    std::unique_ptr<KeyFolder> m_folder;
};

PLUGBOARD_SUITE(DeviceDetailDialogTest)
#include "device_detail_dialog_test.moc"
