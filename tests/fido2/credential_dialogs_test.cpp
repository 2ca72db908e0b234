#include "fido2/dialogs/credential_detail_dialog.h"
#include "fido2/dialogs/credential_edit_dialog.h"
#include "fido2/dialogs/credential_texts.h"
#include "tests/fido2/fido2_test_support.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"

#include <QCheckBox>
#include <QLabel>
#include <QSpinBox>

class CredentialDialogsTest : public QObject
{
    Q_OBJECT

private slots:
    void requiresFourFieldsInOrder()
    {
        ScriptedPrompter prompter;
        const KeyFolder folder;
        CredentialEditDialog editor(true, nullptr, folder.environment(), prompter);
        QCOMPARE(editor.windowTitle(), QStringLiteral("Add New Credential"));
        editor.resize(600, 300); // as a low screen has it: the buttons stay, the field in question is scrolled to
        editor.show();
        QVERIFY(QTest::qWaitForWindowActive(&editor));
        QCOMPARE(editor.height(), 300);
        part(editor, "id")->setText(QStringLiteral("   "));
        const struct
        {
            const char* field;
            const char* complaint;
        } steps[] = {
            {"id", "Credential ID is required"},
            {"rpId", "RP ID is required"},
            {"userName", "Username is required"},
            {"userId", "User ID is required"},
        };
        for (const auto& [field, complaint] : steps) {
            prompter.expectWarning(QStringLiteral("Validation Error"), QString::fromLatin1(complaint));
            click(editor, "save");
            QCOMPARE(prompter.verify(), QString());
            QVERIFY(editor.focusWidget() == part(editor, field));
            QVERIFY(!part(editor, field)->visibleRegion().isEmpty());
            part(editor, field)->setText(QStringLiteral("x"));
        }
        QTest::keyClick(part<QPushButton>(editor, "cancel"), Qt::Key_Return); // not the default button's
        QCOMPARE(editor.result(), int(QDialog::Rejected));
        editor.show();
        QTest::keyClick(part(editor, "id"), Qt::Key_Return);
        QCOMPARE(editor.result(), int(QDialog::Accepted));
        QCOMPARE(prompter.verify(), QString());
    }

    void newCredentialsAreStampedAndTrimmed()
    {
        const KeyFolder folder;
        CredentialEditDialog editor(true, nullptr, folder.environment());
        for (const char* field : {"id", "rpId", "rpName", "userName", "userId", "displayName", "privateKeyFile",
                                  "publicKeyFile", "description", "transports"})
            part(editor, field)->setText(QStringLiteral(" ") + QLatin1String(field) + QStringLiteral("\t"));
        part<QSpinBox>(editor, "sigCnt")->setValue(1000000);
        part<QCheckBox>(editor, "supportsResidentKey")->setChecked(true);
        click(editor, "save");
        QCOMPARE(compact(editor.credential()),
                 QByteArray("{'createdAt':'2025-01-05 14:30:00','description':'description','id':'id','privateKeyFile':"
                            "'privateKeyFile','publicKeyFile':'publicKeyFile','rp':{'id':'rpId','name':'rpName'},"
                            "'sigCnt':999999,'supportsResidentKey':true,'transports':'transports','type':'public-key',"
                            "'user':{'displayName':'displayName','id':'userId','name':'userName'}}"));
    }

    void editingKeepsWhatHasNoField()
    {
        CredentialEditDialog editor(false);
        QCOMPARE(editor.windowTitle(), QStringLiteral("Edit Credential"));
        editor.setCredential(
            json("{'id':'aa','type':'','sigCnt':'12','rp':{'id':'r','icon':'i'},'user':{'name':'u','id':'b',"
                 "'extra':1},'createdAt':'2020-02-02 02:02:02','secret':{'x':[1]}}"));
        QCOMPARE(part<QSpinBox>(editor, "sigCnt")->value(), 12);
        part(editor, "description")->setText(QStringLiteral("mine"));
        click(editor, "save");
        QCOMPARE(compact(editor.credential()),
                 QByteArray("{'createdAt':'2020-02-02 02:02:02','description':'mine','id':'aa','privateKeyFile':'',"
                            "'publicKeyFile':'','rp':{'icon':'i','id':'r','name':''},'secret':{'x':[1]},'sigCnt':12,"
                            "'supportsResidentKey':false,'transports':'','type':'',"
                            "'user':{'displayName':'','extra':1,'id':'b','name':'u'}}"));

        CredentialEditDialog unshown(false); // values that no field can show stay as they are
        const char* stored = "{'id':'aa','rp':{'id':'r','name':5},'sigCnt':5000000000,'supportsResidentKey':'yes',"
                             "'transports':['usb','nfc'],'user':{'name':'u','id':'b'}}";
        unshown.setCredential(json(stored));
        part(unshown, "description")->setText(QStringLiteral("mine"));
        click(unshown, "save");
        for (const char* key : {"rp", "sigCnt", "supportsResidentKey", "transports"})
            QCOMPARE(unshown.credential().value(QLatin1String(key)), json(stored).value(QLatin1String(key)));
        part<QSpinBox>(unshown, "sigCnt")->setValue(7);
        part<QCheckBox>(unshown, "supportsResidentKey")->setChecked(true);
        QTest::keyClicks(part(unshown, "transports"), QStringLiteral("ble"));
        click(unshown, "save");
        QCOMPARE(unshown.credential().value(QStringLiteral("sigCnt")), QJsonValue(7));
        QCOMPARE(unshown.credential().value(QStringLiteral("supportsResidentKey")), QJsonValue(true));
        QCOMPARE(unshown.credential().value(QStringLiteral("transports")), QJsonValue(QStringLiteral("ble")));

        CredentialEditDialog undated(false);
        undated.setCredential(json("{'id':'aa','rp':{'id':'r'},'user':{'name':'u','id':'b'}}"));
        click(undated, "save");
        QVERIFY(!undated.credential().contains(QStringLiteral("createdAt")));
    }

    void hintsAtIdsThatNoKeyKnows_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("userId");
        QTest::addColumn<QString>("hint");
        const auto row = [](const char* id, const char* userId, const char* hint) {
            QTest::newRow(*hint ? hint : "nothing to say")
                << QString::fromLatin1(id) << QString::fromLatin1(userId) << QString::fromLatin1(hint);
        };
        row(" 0aF1 ", "61", "");
        row("0aF", "61", "The credential ID is not hexadecimal: a key leaves this credential out.");
        row("BB ", "61", "Another credential has this ID.");
        row("aa", "ann", "The user ID is not hexadecimal: its letters stand for themselves.");
    }

    void hintsAtIdsThatNoKeyKnows()
    {
        QFETCH(QString, id);
        QFETCH(QString, userId);
        CredentialEditDialog editor(true);
        editor.setOtherIds({QStringLiteral("bb")});
        part(editor, "id")->setText(id);
        part(editor, "userId")->setText(userId);
        QTEST(part<QLabel>(editor, "hint")->text(), "hint");
    }

    void browsesForKeyFiles()
    {
        ScriptedPrompter prompter;
        const KeyFolder folder;
        const CredentialEditDialog editor(true, nullptr, folder.environment(), prompter);
        const QString filter = QStringLiteral("Key Files (*.pem);;All Files (*)");
        prompter.expectOpenFile(QStringLiteral("Select Private Key File"), filter, QStringLiteral("/k.pem"));
        click(editor, "browse_privateKeyFile");
        prompter.expectOpenFile(QStringLiteral("Select Public Key File"), filter, QString());
        click(editor, "browse_publicKeyFile");
        QCOMPARE(part(editor, "privateKeyFile")->text() + part(editor, "publicKeyFile")->text(),
                 QStringLiteral("/k.pem"));
        QCOMPARE(prompter.verify(), QString());
    }

    void showsEitherShape_data()
    {
        QTest::addColumn<QByteArray>("credential");
        QTest::addColumn<QString>("shown");
        const auto row = [](const char* name, const char* credential, const char* shown) {
            QTest::newRow(name) << QByteArray(credential) << QString::fromLatin1(shown);
        };
        row("flat, of a request", "{'id':'aa','userName':'ann','signatureCounter':5}",
            "aa||||"
            "|5|No|||ann|||Not available|Not available");
        row("nested, of a file",
            "{'id':'aa','type':'public-key','index':0,'description':'d','createdAt':'c','sigCnt':'7','"
            "supportsResidentKey':"
            "true,'rp':{'id':'r','name':'n'},'user':{'name':'u','id':'i','displayName':'x'},'privateKeyFile':'p.pem'}",
            "aa|0|public-key|d|c|7|Yes|r|n|u|i|x|p.pem|Not available");
        row("the flat value wins, an empty one does not",
            "{'rpId':'flat','rpName':'','rp':{'id':'nested','name':'nested'},'sigCnt':0,'signatureCounter':9}",
            "||||"
            "|0|No|flat|nested||||Not available|Not available");
    }

    void showsEitherShape()
    {
        QFETCH(QByteArray, credential);
        QFETCH(QString, shown);
        const CredentialDetailDialog dialog(json(credential));
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Credential Details"));
        QStringList texts;
        for (const char* field :
             {"id", "index", "type", "description", "createdAt", "sigCnt", "supportsResidentKey", "rpId", "rpName",
              "userName", "userId", "displayName", "privateKeyFile", "publicKeyFile"}) {
            QVERIFY(part(dialog, field)->isReadOnly());
            texts << part(dialog, field)->text();
        }
        QCOMPARE(texts.join(QLatin1Char('|')), shown);
    }

    void tabulates_data()
    {
        QTest::addColumn<QByteArray>("credential");
        QTest::addColumn<QString>("row");
        QTest::newRow("everything")
            << QByteArray(
                   "{'id':'aa','rp':{'id':'r','name':'n'},'user':{'name':'u','id':'i'},'description':'','createdAt':"
                   "'c','supportsResidentKey':false,'sigCnt':12,'privateKeyFile':'a.pem','publicKeyFile':'b.pem'}")
            << QStringLiteral("aa|r|n|u|i||c|No|12|私钥: a.pem\n公钥: b.pem");
        QTest::newRow("nothing") << QByteArray("{}") << QStringLiteral("N/A|N/A|N/A|N/A|N/A|N/A|N/A|N/A|N/A|N/A");
        QTest::newRow("wrong types, a counter in a string, one key file")
            << QByteArray("{'id':7,'rp':'x','user':[],'sigCnt':'12','supportsResidentKey':'yes','privateKeyFile':'',"
                          "'publicKeyFile':'b.pem'}")
            << QStringLiteral("N/A|N/A|N/A|N/A|N/A|N/A|N/A|N/A|12|公钥: b.pem");
    }

    void tabulates()
    {
        QFETCH(QByteArray, credential);
        QFETCH(QString, row);
        QCOMPARE(credentialRow(json(credential)).join(QLatin1Char('|')), row);
    }

    void summarizes()
    {
        const QJsonArray credentials{
            json("{'rp':{'id':'r','name':'n'},'user':{'name':'u','displayName':'d'},'description':"
                 "'x\\ny','createdAt':'c','supportsResidentKey':true,'sigCnt':3}"),
            QJsonObject()};
        QCOMPARE(credentialSummary(QStringLiteral("/p/%1.json"), credentials),
                 QStringLiteral("Total Credentials: 2\nCredentials File: /p/%1.json\n\n"
                                "Credential 1:\n  RP ID: r\n  RP Name: n\n  Username: u\n  Display Name: d\n"
                                "  Description: x\ufffdy\n  Created At: c\n  Supports Resident Key: Yes\n"
                                "  Signature Count: 3\n\n"
                                "Credential 2:\n  RP ID: N/A\n  RP Name: N/A\n  Username: N/A\n  Display Name: N/A\n"
                                "  Description: N/A\n  Created At: N/A\n  Supports Resident Key: No\n"
                                "  Signature Count: 0\n"));
    }
};

PLUGBOARD_SUITE(CredentialDialogsTest)
#include "credential_dialogs_test.moc"
