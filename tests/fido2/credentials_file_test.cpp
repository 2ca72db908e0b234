#include "fido2/file/credentials_file.h"
#include "fido2/file/credentials_merge.h"
#include "fido2/file/pin.h"
#include "tests/fido2/fido2_test_support.h"
#include "tests/support/log_lines.h"
#include "tests/support/suite_registry.h"

#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>

namespace {

const KeyIdentity kForm{QStringLiteral(" S1 "),   QStringLiteral(" Key "), QStringLiteral("0x1234"),
                        QStringLiteral("0x5678"), QStringLiteral("2.0"),   true};

/// deviceInfo, caInfo and pinInfo as the form alone makes them.
const char kDevice[] = "'deviceInfo':{'deviceName':'Key','pid':'0x5678','serialNumber':'S1','supportsPin':true,"
                       "'usbVersion':'2.0','vid':'0x1234'}";
const char kCa[] = "'caInfo':{'caCertificateFile':'S1_ca_cert.pem','caPrivateKeyFile':'S1_ca_private.pem',"
                   "'caPublicKeyFile':'S1_ca_public.pem'}";
const char kPin[] = "'pinInfo':{'maxPinRetries':8,'pinPrivateKeyFile':'S1_pin_private.pem',"
                    "'pinPublicKeyFile':'S1_pin_public.pem','pinRetryCount':8,'pinSet':false}";

} // namespace

class CredentialsFileTest : public QObject
{
    Q_OBJECT

private slots:
    void mergesOnlyWhatIsMissing_data()
    {
        QTest::addColumn<QByteArray>("old");
        QTest::addColumn<QString>("serial");
        QTest::addColumn<QByteArray>("merged");
        const auto row = [](const char* name, const char* old, const char* serial, const QByteArray& device,
                            const QByteArray& ca, const QByteArray& pin) {
            QTest::newRow(name) << QByteArray(old) << QString::fromLatin1(serial)
                                << QByteArray('{' + ca + ",'credentials':[]," + device + ',' + pin + '}');
        };
        row("without a file the form fills all, trimmed", "{}", " S1 ", kDevice, kCa, kPin);
        row("what the file has wins over the form, unknown members of the three objects stay",
            "{'deviceInfo':{'vid':'0x9999','usbVersion':'','firmware':7},'caInfo':{'extra':1,'caPublicKeyFile':'mine'},"
            "'pinInfo':{'pinRetryCount':2,'salt':'x'}}",
            "S1",
            "'deviceInfo':{'deviceName':'Key','firmware':7,'pid':'0x5678','serialNumber':'S1','supportsPin':true,"
            "'usbVersion':'','vid':'0x9999'}",
            "'caInfo':{'caCertificateFile':'S1_ca_cert.pem','caPrivateKeyFile':'S1_ca_private.pem',"
            "'caPublicKeyFile':'mine','extra':1}",
            "'pinInfo':{'maxPinRetries':8,'pinPrivateKeyFile':'S1_pin_private.pem','pinPublicKeyFile':'S1_pin_public."
            "pem',"
            "'pinRetryCount':2,'pinSet':false,'salt':'x'}");
        row("everything beside the three objects is dropped, old credentials too",
            "{'credentials':[{'id':'aa'}],'version':3}", "S1", kDevice, kCa, kPin);
        row("a set PIN without a hash gains an empty one", "{'pinInfo':{'pinSet':true}}", "S1", kDevice, kCa,
            "'pinInfo':{'maxPinRetries':8,'pinHash':'','pinPrivateKeyFile':'S1_pin_private.pem','pinPublicKeyFile':"
            "'S1_pin_public.pem','pinRetryCount':8,'pinSet':true}");
        row("an empty serial number names no key files", "{}", "  ",
            "'deviceInfo':{'deviceName':'Key','pid':'0x5678','serialNumber':'','supportsPin':true,"
            "'usbVersion':'2.0','vid':'0x1234'}",
            "'caInfo':{}", "'pinInfo':{'maxPinRetries':8,'pinRetryCount':8,'pinSet':false}");
    }

    void mergesOnlyWhatIsMissing()
    {
        QFETCH(QByteArray, old);
        QFETCH(QString, serial);
        QFETCH(QByteArray, merged);
        KeyIdentity form = kForm;
        form.serialNumber = serial;
        QCOMPARE(compact(mergedCredentialsRoot(json(old), form, {})), merged);
    }

    void writesForItsOwnerOnlyAndNamesThePath()
    {
        const KeyFolder folder;
        const QString path = folder.environment().credentialsPath(QStringLiteral(" S1 "));
        QCOMPARE(path, folder.keyPath(QStringLiteral("S1_credentials.json")));
        folder.write(path, "{}");
        const QJsonArray credentials{json("{'id':'aa'}")};
        QVERIFY(CredentialsFile(path).save(kForm, credentials));
        CredentialsFile read(path);
        QCOMPARE(read.load(), JsonFileContent::State::Object);
        QCOMPARE(read.credentials(), credentials);
        QVERIFY(fileBytes(path).contains("\n    \"caInfo\": {\n"));
#ifndef Q_OS_WIN
        const auto others = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ReadOther;
        QVERIFY(!(QFileInfo(path).permissions() & others));
#endif
        QVERIFY(!CredentialsFile(folder.path(QStringLiteral("none/x_credentials.json"))).save(kForm, {}));
        QVERIFY(!QFileInfo::exists(folder.path(QStringLiteral("none"))));
    }

    void tellsUnusableFilesApart_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("state");
        QTest::newRow("an array is no object") << QByteArray("[1]") << int(JsonFileContent::State::NotAnObject);
        QTest::newRow("half an object") << QByteArray("{\"a\":") << int(JsonFileContent::State::NotJson);
        QTest::newRow("nesting that would exhaust the stack")
            << QByteArray(100000, '[') << int(JsonFileContent::State::NotJson);
    }

    void tellsUnusableFilesApart()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, state);
        const KeyFolder folder;
        const QString path = folder.keyPath(QStringLiteral("a_credentials.json"));
        CredentialsFile file(path);
        QCOMPARE(file.load(), JsonFileContent::State::NotOpened);
        folder.write(path, "{\"credentials\":[{}]}");
        QCOMPARE(file.load(), JsonFileContent::State::Object);
        folder.write(path, bytes);
        QCOMPARE(int(file.load()), state);
        QCOMPARE(file.parseError().isEmpty(), state != int(JsonFileContent::State::NotJson));
        QCOMPARE(file.credentials().size(), 1); // what was read before stays
        QCOMPARE(CredentialsFile(folder.path(QStringLiteral("fido2"))).load(), JsonFileContent::State::NotOpened);
    }

    void countsPinsInCharacters_data()
    {
        QTest::addColumn<QString>("pin");
        QTest::addColumn<int>("check");
        QTest::newRow("four") << QStringLiteral("1234") << int(PinCheck::Ok);
        QTest::newRow("63 characters of four bytes") << QStringLiteral("😀").repeated(63) << int(PinCheck::Ok);
        QTest::newRow("64 characters of four bytes") << QStringLiteral("😀").repeated(64) << int(PinCheck::WrongLength);
        QTest::newRow("three characters of four bytes")
            << QStringLiteral("😀").repeated(3) << int(PinCheck::WrongLength);
    }

    void countsPinsInCharacters()
    {
        QFETCH(QString, pin);
        QFETCH(int, check);
        QCOMPARE(int(checkPin(pin, pin)), check);
        if (check == int(PinCheck::Ok))
            QCOMPARE(checkPin(pin, pin + pin.right(1)), PinCheck::Mismatch);
    }

    void clearDeletesNamedFilesAndNothingElse()
    {
        const KeyFolder folder;
        const QString path = folder.keyPath(QStringLiteral("S1_credentials.json"));
        QStringList doomed{path,
                           folder.keyPath(QStringLiteral("S1_ca_cert.pem")),
                           folder.keyPath(QStringLiteral("S1_ca_public.pem")),
                           folder.keyPath(QStringLiteral("S1_ca_private.pem")),
                           folder.keyPath(QStringLiteral("S1_pin_public.pem")),
                           folder.keyPath(QStringLiteral("S1_pin_private.pem")),
                           folder.keyPath(QStringLiteral("S1_credentials.json.aBcDeF")), // of an interrupted save
                           folder.path(QStringLiteral("elsewhere.pem"))};
        const QStringList spared{folder.keyPath(QStringLiteral("S2_ca_cert.pem")), folder.path(QStringLiteral("other")),
                                 folder.keyPath(QStringLiteral("S1_credentials.json.backup"))};
        for (const QString& file : doomed + spared)
            folder.write(file, "x");
#ifndef Q_OS_WIN
        doomed << folder.path(QStringLiteral("link.pem"));
        QVERIFY(QFile::link(spared.first(), doomed.last()));
#endif
        QDir(folder.path({})).mkdir(QStringLiteral("empty"));
        const QString folderPath = folder.path(QStringLiteral("empty"));
        const QJsonArray credentials{
            QJsonObject{{QStringLiteral("privateKeyFile"), doomed.last()}},
            QJsonObject{{QStringLiteral("publicKeyFile"), folder.path(QStringLiteral("elsewhere.pem"))}},
            QJsonObject{{QStringLiteral("privateKeyFile"), folderPath}},
            QJsonObject{{QStringLiteral("publicKeyFile"), QString()}},
            QStringLiteral("no object"),
            QJsonObject{{QStringLiteral("publicKeyFile"), QStringLiteral("not/there.pem")}}};
        const LogLines logged;
        CredentialsFile(path).clear(folder.environment().directory(), QStringLiteral("S1"), credentials);
        for (const QString& file : doomed) {
            QVERIFY2(!QFileInfo(file).isSymLink() && !QFileInfo::exists(file), qPrintable(file));
            QVERIFY2(logged.lines().contains(QStringLiteral("Deleted: ") + file), qPrintable(file));
        }
        for (const QString& file : spared + QStringList{folderPath})
            QVERIFY2(QFileInfo::exists(file), qPrintable(file));
    }

    void mergesWhatTwoWritersDid_data()
    {
        QTest::addColumn<QByteArray>("base");
        QTest::addColumn<QByteArray>("mine");
        QTest::addColumn<QByteArray>("theirs");
        QTest::addColumn<QByteArray>("merged");
        const auto row = [](const char* name, const char* base, const char* mine, const char* theirs,
                            const char* merged) {
            QTest::newRow(name) << QByteArray(base) << QByteArray(mine) << QByteArray(theirs) << QByteArray(merged);
        };
        const char* two = "[{'id':'a'},{'id':'b'}]";
        row("both add", "[]", "[{'id':'a'}]", "[{'id':'b'}]", two);
        row("they count on, mine is untouched", two, two, "[{'id':'a','sigCnt':5},{'id':'b'}]",
            "[{'id':'a','sigCnt':5},{'id':'b'}]");
        row("mine is changed, they count on", two, "[{'id':'a','description':'x'},{'id':'b'}]",
            "[{'id':'a','sigCnt':5},{'id':'b'}]", "[{'description':'x','id':'a','sigCnt':5},{'id':'b'}]");
        row("both change one member, mine stays", "[{'id':'a','sigCnt':1,'rp':{'id':'r','name':'n'}}]",
            "[{'id':'a','sigCnt':3,'rp':{'id':'r','name':'m'}}]", "[{'id':'a','sigCnt':2,'rp':{'id':'q'}}]",
            "[{'id':'a','rp':{'id':'q','name':'m'},'sigCnt':3}]");
        row("mine is removed, they count on", two, "[{'id':'b'}]", "[{'id':'a','sigCnt':5},{'id':'b'}]",
            "[{'id':'b'}]");
        row("they remove, mine is untouched", two, two, "[{'id':'b'}]", "[{'id':'b'}]");
        row("they remove, mine is changed", two, "[{'id':'a','description':'x'},{'id':'b'}]", "[]",
            "[{'description':'x','id':'a'}]");
        row("twins and what has no id are kept", "[{'id':'t'},{'id':'t'},7]", "[{'id':'t'},{'id':'t'},7]",
            "[{'id':'t'},{'id':'t'},7,{}]", "[{'id':'t'},{'id':'t'},7,{}]");
    }

    void mergesWhatTwoWritersDid()
    {
        QFETCH(QByteArray, base);
        QFETCH(QByteArray, mine);
        QFETCH(QByteArray, theirs);
        QFETCH(QByteArray, merged);
        const auto list = [](const QByteArray& text) {
            return json("{'x':" + text + "}").value(QStringLiteral("x")).toArray();
        };
        const QJsonArray result = mergedCredentials(list(base), list(mine), list(theirs));
        QCOMPARE(compact(QJsonObject{{QStringLiteral("x"), result}}), "{'x':" + merged + "}");
    }

    /// PLUGBOARD_ROUNDS makes it longer.
    void twoProcessesLoseNothing()
    {
        const int rounds = qEnvironmentVariable("PLUGBOARD_ROUNDS", QStringLiteral("300")).toInt();
        const KeyFolder folder;
        const QString path = folder.keyPath(QStringLiteral("S1_credentials.json"));
        folder.write(path, R"({"credentials":[{"id":"aa"},{"id":"bb"}]})");
        QProcess window;
        QProcess key;
        const QString program = QCoreApplication::applicationDirPath() + QStringLiteral("/credentials_writer");
        window.start(program, {path, QStringLiteral("aa"), QString::number(rounds), QStringLiteral("window")});
        key.start(program, {path, QStringLiteral("bb"), QString::number(rounds), QStringLiteral("key")});
        for (QProcess* writer : {&window, &key}) {
            QVERIFY(writer->waitForFinished(-1));
            QCOMPARE(writer->exitCode(), 0);
        }
        QStringList counts;
        for (const QJsonValue& credential : readJsonFile(path).root.value(QStringLiteral("credentials")).toArray())
            counts << credential[QStringLiteral("id")].toString() +
                          QString::number(credential[QStringLiteral("sigCnt")].toInt());
        QCOMPARE(counts.join(QLatin1Char(' ')), QStringLiteral("aa%1 bb%1").arg(rounds));
    }

    void summarizesForTheChooser_data()
    {
        QTest::addColumn<QByteArray>("root");
        QTest::addColumn<QString>("summary");
        const auto row = [](const char* name, const char* root, const char* summary) {
            QTest::newRow(name) << QByteArray(root) << QString::fromLatin1(summary);
        };
        row("all of it",
            "{'deviceInfo':{'serialNumber':'S1'},'pinInfo':{'pinHash':'ab','maxPinRetries':5},'credentials':[{},{}]}",
            "S1|Yes|5|2");
        row("an empty hash is no PIN", "{'pinInfo':{'pinHash':'','maxPinRetries':8}}", "?|No|8|0");
        row("a key without a PIN has no hash at all", "{'pinInfo':{'pinSet':false}}", "?|No|?|0");
        row("an older file keeps its PIN state in deviceInfo",
            "{'deviceInfo':{'serialNumber':'S1','pinHash':'ab','maxPinRetries':3}}", "S1|Yes|3|0");
        row("pinInfo hides what an older layout left in deviceInfo",
            "{'deviceInfo':{'pinHash':'ab','maxPinRetries':3},'pinInfo':{'maxPinRetries':8}}", "?|No|8|0");
        row("members of wrong types count as missing",
            "{'deviceInfo':{'serialNumber':7},'pinInfo':{'pinHash':7,'maxPinRetries':'x'},'credentials':{}}",
            "?|No|?|0");
    }

    void summarizesForTheChooser()
    {
        QFETCH(QByteArray, root);
        QFETCH(QString, summary);
        const CredentialsFileSummary found = summarizeCredentials(json(root));
        const QString unknown = QStringLiteral("?");
        const QString pin = found.hasPin ? (*found.hasPin ? QStringLiteral("Yes") : QStringLiteral("No")) : unknown;
        const QStringList texts{found.serialNumber.value_or(unknown), pin, found.maxPinRetries.value_or(unknown),
                                QString::number(found.credentialCount)};
        QCOMPARE(texts.join(QLatin1Char('|')), summary);
    }

    void serialNumbersHaveTheirForm()
    {
        QRandomGenerator random(1);
        int lowest = 10000;
        int highest = 0;
        for (int draw = 0; draw < 200000; ++draw) {
            const QString serial = makeSerialNumber(QDateTime(QDate(2025, 1, 5), QTime(14, 30)), random);
            QVERIFY(serial.startsWith(QStringLiteral("FIDO2_20250105143000_")));
            const int number = serial.mid(21).toInt();
            lowest = qMin(lowest, number);
            highest = qMax(highest, number);
        }
        QCOMPARE(lowest, 1000);
        QCOMPARE(highest, 9998);
    }
};

PLUGBOARD_SUITE(CredentialsFileTest)
#include "credentials_file_test.moc"
