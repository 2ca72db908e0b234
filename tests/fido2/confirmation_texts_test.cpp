#include "fido2/dialogs/confirmation_result.h"
#include "fido2/dialogs/confirmation_texts.h"
#include "runtime/shown_text.h"
#include "tests/fido2/fido2_test_support.h"
#include "tests/support/suite_registry.h"

#include <QJsonDocument>

class ConfirmationTextsTest : public QObject
{
    Q_OBJECT

private slots:
    void describesTheRequest_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("details");
        const auto row = [](const char* name, const char* operation, const char* data, const char* details) {
            QTest::newRow(name) << QString::fromLatin1(operation) << QByteArray(data) << QString::fromUtf8(details);
        };
        row("registration with everything", "make_credential",
            "{'rpName':'Shop','rpId':'shop.example','userName':'ann','supportedAlgorithms':[{'type':'public-key','id':-"
            "7},"
            "{'id':-257}],'algorithmInfo':'hidden','credentialType':'public-key','userId':'0a','credentialId':'0b',"
            "'deviceName':'Key','pinRequired':true}",
            "Relying Party: Shop (shop.example)\nUser: ann\n\nSupported Algorithms (2):"
            "\n  1. Type: public-key, ID: -7\n  2. Type: Unknown, ID: -257\nCredential Type: public-key\nUser ID: 0a"
            "\nCredential ID: 0b\nDevice: Key\nPIN Required: Yes");
        row("registration with free algorithm text and no PIN", "make_credential",
            "{'rpId':'a','algorithmInfo':'ES256','pinRequired':false}",
            "Relying Party: Unknown (a)\nUser: Unknown User\n\nAlgorithm Information:\nES256");
        row("a value that looks like a place holder stays", "make_credential",
            "{'rpName':'%2','rpId':'%3','userName':'%1'}", "Relying Party: %2 (%3)\nUser: %1");
        row("passwordless sign-in", "get_assertion",
            "{'isPasswordlessLogin':true,'rpName':'Shop','rpId':'s.example','availableCredentials':["
            "{'userDisplayName':'Ann','userName':'ann','description':'work','createdAt':'2025','id':'aa','isSelected':"
            "true}"
            ","
            "{'userName':'bob','id':'bb'},{'userDisplayName':'','userName':'cid','createdAt':'2024'}]}",
            "Passwordless Login to: Shop (s.example)\n\nAvailable Credentials (3):"
            "\n  1. Ann - work (Created: 2025) [ID: aa] ✓\n  2. bob [ID: bb]\n  3. cid (Created: 2024)");
        row("sign-in takes the user from the first candidate", "get_assertion",
            "{'rpName':'','rpId':'s.example','userName':'other','availableCredentials':[{'userName':'ann','id':'aa',"
            "'description':'work'},{'userName':'bob'}],'credentialType':'public-key','transports':['usb','nfc'],"
            "'signatureCounter':0,'userVerificationRequired':false}",
            "Authenticating to: s.example (s.example)\nUser: ann\nCredential ID: aa\nDescription: work"
            "\nCredential Type: public-key\nTransports: usb, nfc\nSignature Counter: 0\nUser Verification: Not "
            "Required");
        row("sign-in without candidates uses the request's own members", "get_assertion",
            "{'isPasswordlessLogin':true,'rpName':'Shop','rpId':'s','userName':'ann','credentialId':'aa',"
            "'userVerificationRequired':true}",
            "Authenticating to: Shop (s)\nUser: ann\nCredential ID: aa\nUser Verification: Required");
    }

    void describesTheRequest()
    {
        QFETCH(QString, operation);
        QFETCH(QByteArray, data);
        QFETCH(QString, details);
        QCOMPARE(confirmationDetails(operation, json(data)), details);
    }

    void namesTheChoices_data()
    {
        QTest::addColumn<QByteArray>("candidate");
        QTest::addColumn<QString>("choice");
        const auto row = [](const char* name, const char* candidate, const char* choice) {
            QTest::newRow(name) << QByteArray(candidate) << QString::fromLatin1(choice);
        };
        row("the description comes first and the id is cut at 16",
            "{'description':'work','userDisplayName':'Ann','userName':'ann','id':'0123456789abcdef0123'}",
            "work - Ann [ID: 0123456789abcdef...]");
        row("dots follow a short id too", "{'userName':'ann','id':'01'}", "No description - ann [ID: 01...]");
    }

    void namesTheChoices()
    {
        QFETCH(QByteArray, candidate);
        QFETCH(QString, choice);
        QCOMPARE(credentialChoice(json(candidate)), choice);
    }

    void valuesCannotPassForTheDialog_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("shown");
        QTest::newRow("line feed") << QStringLiteral("a\nUser: b") << QStringLiteral("a\ufffdUser: b");
        QTest::newRow("text that runs backwards")
            << QStringLiteral("a\u202eb\u2066c\u200fd") << QStringLiteral("a\ufffdb\ufffdc\ufffdd");
        QTest::newRow("control characters")
            << QString(QChar(0)) + QChar(0x1b) + QChar(0x85) << QStringLiteral("\ufffd\ufffd\ufffd");
        QTest::newRow("scripts and joined emoji stay")
            << QStringLiteral("عربي עברית 私钥 👩\u200d💻") << QStringLiteral("عربي עברית 私钥 👩\u200d💻");
        QTest::newRow("what is too long is cut, not within a character")
            << QString(kLongestShownValue - 1, QLatin1Char('a')) + QStringLiteral("😀")
            << QString(kLongestShownValue - 1, QLatin1Char('a')) + QStringLiteral("…");
    }

    void valuesCannotPassForTheDialog()
    {
        QFETCH(QString, value);
        QFETCH(QString, shown);
        QCOMPARE(shownText(value), shown);
        const QJsonObject request{{QStringLiteral("rpName"), value}};
        QCOMPARE(confirmationDetails(QStringLiteral("make_credential"), request).count(QLatin1Char('\n')), 1);
    }

    void showsTheWholeRequest()
    {
        const QString text = completeRequestText(QStringLiteral("reset"),
                                                 QJsonObject{{QStringLiteral("a"), QStringLiteral("b\u202ec")}});
        QVERIFY(text.startsWith(QStringLiteral("Operation Type: reset\n\nRaw Request Data:\n"
                                               "{\n    \"a\": \"b\\u202ec\"\n}\n\n\nField Explanations:\n"
                                               "• operation: FIDO2 operation type (make_credential/get_assertion)\n")));
        // A text box takes a minute for one line of a megabyte.
        const QJsonObject huge{{QStringLiteral("rpName"), QString(1024 * 1024, QLatin1Char('x'))}};
        for (const QString& line : completeRequestText(QString(), huge).split(QLatin1Char('\n')))
            QVERIFY(line.size() < 5000);
    }

    void answers_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("description"); // "-" for no field
        QTest::addColumn<int>("index");           // -1 for no list
        QTest::addColumn<QByteArray>("result");
        const auto row = [](const char* name, const char* data, const char* description, int index,
                            const char* result) {
            QTest::newRow(name) << QByteArray(data) << QString::fromLatin1(description) << index << QByteArray(result);
        };
        row("plain", "{'rpId':'a'}", "-", -1, "{'rememberChoice':false,'userAction':'confirmed'}");
        row("description, trimmed", "{'allowDescriptionInput':true}", " mine ", -1,
            "{'description':'mine','rememberChoice':false,'userAction':'confirmed'}");
        row("no description becomes the time", "{'allowDescriptionInput':true}", "  ", -1,
            "{'description':'2025-01-05 14:30:00','rememberChoice':false,'userAction':'confirmed'}");
        row("the second candidate", "{'isPasswordlessLogin':true,'availableCredentials':[{'id':'a'},{'id':'b'}]}", "-",
            1,
            "{'isPasswordlessLogin':true,'rememberChoice':false,'selectedCredential':{'id':'b'},"
            "'selectedCredentialIndex':1,'userAction':'confirmed'}");
        row("the first one when no list was shown", "{'isPasswordlessLogin':true,'availableCredentials':[{'id':'a'}]}",
            "-", -1,
            "{'isPasswordlessLogin':true,'rememberChoice':false,'selectedCredential':{'id':'a'},"
            "'selectedCredentialIndex':0,'userAction':'confirmed'}");
        row("an index outside names no credential", "{'isPasswordlessLogin':true,'availableCredentials':[{'id':'a'}]}",
            "-", 5,
            "{'isPasswordlessLogin':true,'rememberChoice':false,'selectedCredentialIndex':5,'userAction':'confirmed'}");
        row("nothing to pick", "{'isPasswordlessLogin':true,'availableCredentials':[]}", "-", -1,
            "{'rememberChoice':false,'userAction':'confirmed'}");
    }

    void answers()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, description);
        QFETCH(int, index);
        QFETCH(QByteArray, result);
        ConfirmationInput input;
        if (description != QStringLiteral("-"))
            input.description = description;
        if (index >= 0)
            input.selectedIndex = index;
        QCOMPARE(compact(confirmedResult(json(data), input, QStringLiteral("2025-01-05 14:30:00"))), result);
    }
};

PLUGBOARD_SUITE(ConfirmationTextsTest)
#include "confirmation_texts_test.moc"
