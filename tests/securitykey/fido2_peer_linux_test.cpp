#include "tests/securitykey/fido2_host.h"
#include "tests/support/suite_registry.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QtTest>

#include <fido/eddsa.h>
#include <fido/es256.h>

using namespace fido2;

namespace {

QString operator""_s(const char* text, std::size_t size)
{
    return QString::fromUtf8(text, int(size));
}

} // namespace

Q_DECLARE_METATYPE(ctap::Verdict)

class Fido2PeerTest : public QObject
{
    Q_OBJECT

private slots:
    void saysWhatItCan_data()
    {
        QTest::addColumn<bool>("supportsPin");
        QTest::addColumn<QStringList>("versions");
        QTest::addColumn<QStringList>("options");
        QTest::newRow("with PIN") << true << QStringList{"U2F_V2"_s, "FIDO_2_0"_s, "FIDO_2_1"_s}
                                  << QStringList{"clientPin=0"_s, "credMgmt=1"_s,       "makeCredUvNotRqd=1"_s,
                                                 "plat=0"_s,      "pinUvAuthToken=1"_s, "rk=1"_s,
                                                 "up=1"_s};
        QTest::newRow("without PIN") << false << QStringList{"U2F_V2"_s, "FIDO_2_0"_s}
                                     << QStringList{"makeCredUvNotRqd=1"_s, "plat=0"_s, "rk=1"_s, "up=1"_s};
    }

    void saysWhatItCan()
    {
        QFETCH(bool, supportsPin);
        QFETCH(QStringList, versions);
        QFETCH(QStringList, options);
        KeyUnderTest key(supportsPin);
        const Host host(key);
        const Information information(fido_cbor_info_new());
        QCOMPARE(fido_dev_get_cbor_info(host, information.get()), FIDO_OK);
        QStringList said;
        for (std::size_t i = 0; i < fido_cbor_info_versions_len(information.get()); ++i)
            said << QString::fromLatin1(fido_cbor_info_versions_ptr(information.get())[i]);
        QCOMPARE(said, versions);
        said.clear();
        for (std::size_t i = 0; i < fido_cbor_info_options_len(information.get()); ++i)
            said << QStringLiteral("%1=%2")
                        .arg(QString::fromLatin1(fido_cbor_info_options_name_ptr(information.get())[i]))
                        .arg(fido_cbor_info_options_value_ptr(information.get())[i]);
        said.sort();
        options.sort();
        QCOMPARE(said, options);
    }

    void registersAndSignsIn_data()
    {
        QTest::addColumn<int>("algorithm");
        QTest::addColumn<bool>("discoverable");
        QTest::addColumn<bool>("withPin");
        for (const int algorithm : {COSE_ES256, COSE_EDDSA}) {
            for (const bool discoverable : {false, true}) {
                for (const bool withPin : {false, true})
                    QTest::addRow("algorithm %d%s%s", algorithm, discoverable ? ", discoverable" : "",
                                  withPin ? ", with PIN" : "")
                        << algorithm << discoverable << withPin;
            }
        }
    }

    void registersAndSignsIn()
    {
        QFETCH(int, algorithm);
        QFETCH(bool, discoverable);
        QFETCH(bool, withPin);
        KeyUnderTest key;
        const Host host(key);
        const char* pin = withPin ? kPin : nullptr;
        if (withPin)
            QCOMPARE(fido_dev_set_pin(host, kPin, nullptr), FIDO_OK);
        const Made made = make(host, {algorithm, discoverable, pin});
        QCOMPARE(made.result, FIDO_OK);
        QCOMPARE(fido_cred_fmt(made.credential.get()), "packed");
        QCOMPARE(bool(fido_cred_flags(made.credential.get()) & 0x04), withPin);

        const SignIn login = signIn(host, {idOf(made.credential), pin});
        QCOMPARE(login.result, FIDO_OK);
        QCOMPARE(verified(login, made.credential), FIDO_OK);
        QCOMPARE(bool(fido_assert_flags(login.assertion.get(), 0) & 0x04), withPin);
        const SignIn silent = signIn(host, {idOf(made.credential), pin, FIDO_OPT_FALSE});
        QCOMPARE(silent.result, FIDO_OK);
        QCOMPARE(int(fido_assert_flags(silent.assertion.get(), 0) & 0x01), 0);
        QCOMPARE(key.user.operations, (QStringList{"make_credential"_s, "get_assertion"_s}));

        const SignIn withoutId = signIn(host, {{}, pin});
        QCOMPARE(withoutId.result, discoverable ? FIDO_OK : FIDO_ERR_NO_CREDENTIALS);
        if (discoverable)
            QCOMPARE(copied(fido_assert_user_id_ptr(withoutId.assertion.get(), 0), 1), QByteArray("u"));
    }

    void u2fRegistersAndSignsIn()
    {
        KeyUnderTest key;
        const Host host(key, true);
        const Made made = make(host, {});
        QCOMPARE(made.result, FIDO_OK);
        QCOMPARE(fido_cred_fmt(made.credential.get()), "fido-u2f");
        const SignIn login = signIn(host, {idOf(made.credential)});
        QCOMPARE(login.result, FIDO_OK);
        QCOMPARE(verified(login, made.credential), FIDO_OK);
        QCOMPARE(signIn(host, {QByteArray(32, 'x')}).result, FIDO_ERR_NO_CREDENTIALS);

        const Host newer(key); // a host that speaks CTAP 2 finds it by its relying party's hash
        const SignIn later = signIn(newer, {idOf(made.credential)});
        QCOMPARE(later.result, FIDO_OK);
        QCOMPARE(verified(later, made.credential), FIDO_OK);
    }

    void asksBeforeItActs_data()
    {
        using ctap::Verdict;
        QTest::addColumn<Verdict>("verdict");
        QTest::addColumn<int>("result");
        QTest::newRow("confirmed") << Verdict::Confirmed << FIDO_OK;
        QTest::newRow("denied") << Verdict::Denied << FIDO_ERR_OPERATION_DENIED;
        QTest::newRow("not answered") << Verdict::TimedOut << FIDO_ERR_USER_ACTION_TIMEOUT;
    }

    void asksBeforeItActs()
    {
        QFETCH(ctap::Verdict, verdict);
        QFETCH(int, result);
        KeyUnderTest key;
        const Host host(key);
        const Made first = make(host, {COSE_ES256, true});
        QCOMPARE(first.result, FIDO_OK);
        key.user.answers = {{verdict, {}}, {verdict, {}}, {verdict, {}}};
        QCOMPARE(signIn(host, {idOf(first.credential)}).result, result);
        QCOMPARE(key.store().credentials().front().signatureCount, verdict == ctap::Verdict::Confirmed ? 1u : 0u);
        QCOMPARE(make(host, {COSE_ES256, true, nullptr, 'v'}).result, result);
        QCOMPARE(key.store().credentials().size(), verdict == ctap::Verdict::Confirmed ? 2u : 1u);
        QCOMPARE(fido_dev_reset(host), result);
        QCOMPARE(key.store().credentials().empty(), verdict == ctap::Verdict::Confirmed);
        QCOMPARE(key.user.operations,
                 (QStringList{"make_credential"_s, "get_assertion"_s, "make_credential"_s, "reset"_s}));
    }

    void excludesWhatItHas()
    {
        KeyUnderTest key;
        const Host host(key);
        const Made made = make(host, {});
        Wish again;
        again.excluded = idOf(made.credential);
        QCOMPARE(make(host, again).result, FIDO_ERR_CREDENTIAL_EXCLUDED);
        QCOMPARE(key.user.operations.size(), 2); // whoever is not there does not learn which credentials there are
        QCOMPARE(key.store().credentials().size(), 1u);
    }

    void letsTheUserChoose()
    {
        KeyUnderTest key;
        const Host host(key);
        for (const char user : {'a', 'b', 'c'})
            QCOMPARE(make(host, {COSE_ES256, true, nullptr, user}).result, FIDO_OK);
        // A confirmation without a choice leaves it to the host: the newest first.
        const SignIn all = signIn(host, {});
        QCOMPARE(all.result, FIDO_OK);
        QCOMPARE(int(fido_assert_count(all.assertion.get())), 3);
        QByteArray users;
        for (std::size_t i = 0; i < 3; ++i)
            users += copied(fido_assert_user_id_ptr(all.assertion.get(), i),
                            fido_assert_user_id_len(all.assertion.get(), i));
        QCOMPARE(users, QByteArray("cba"));
        QCOMPARE(key.user.lastQuestion.value("availableCredentials"_s).toArray().size(), 3);
        QVERIFY(key.user.lastQuestion.value("isPasswordlessLogin"_s).toBool());

        key.user.answers = {{ctap::Verdict::Confirmed, {{"selectedCredentialIndex"_s, 2}}}};
        const SignIn chosen = signIn(host, {});
        QCOMPARE(int(fido_assert_count(chosen.assertion.get())), 1);
        QCOMPARE(copied(fido_assert_user_id_ptr(chosen.assertion.get(), 0), 1), QByteArray("a"));
    }

    void newCredentialOfAUserReplacesTheOld()
    {
        KeyUnderTest key;
        const Host host(key);
        key.user.answers = {{ctap::Verdict::Confirmed, {{"description"_s, "old"_s}}},
                            {ctap::Verdict::Confirmed, {{"description"_s, "other"_s}}},
                            {ctap::Verdict::Confirmed, {{"description"_s, "new"_s}}}};
        QCOMPARE(make(host, {COSE_ES256, true, nullptr, 'a'}).result, FIDO_OK);
        const QString oldKey = key.store().credentials().front().privateKeyFile;
        QVERIFY(QFile::exists(oldKey));
        QCOMPARE(make(host, {COSE_ES256, true, nullptr, 'b'}).result, FIDO_OK);
        QCOMPARE(make(host, {COSE_EDDSA, true, nullptr, 'a'}).result, FIDO_OK);
        const auto left = key.store().credentials();
        QCOMPARE(left.size(), 2u);
        QCOMPARE(left[0].description, QStringLiteral("other"));
        QCOMPARE(left[1].description, QStringLiteral("new"));
        QVERIFY(!QFile::exists(oldKey));
    }

    void keyMadeByHandSignsIn_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<int>("algorithm");
        QTest::newRow("ecparam, SEC 1") << "ecparam -name prime256v1 -genkey -noout -out %1"_s << COSE_ES256;
        QTest::newRow("genpkey, PKCS 8") << "genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out %1"_s
                                         << COSE_ES256;
        QTest::newRow("Ed25519") << "genpkey -algorithm ed25519 -out %1"_s << COSE_EDDSA;
    }

    void keyMadeByHandSignsIn()
    {
        QFETCH(QString, command);
        QFETCH(int, algorithm);
        KeyUnderTest key;
        const QString pem = key.folder() + QStringLiteral("/mine.pem");
        QCOMPARE(QProcess::execute(QStringLiteral("openssl"), command.arg(pem).split(QLatin1Char(' '))), 0);
        QFile file(key.file("credentials.json"));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QJsonObject root = QJsonDocument::fromJson(file.readAll()).object();
        root.insert("credentials"_s,
                    QJsonArray{QJsonObject{{"id"_s, "00AABBCCDD"_s},
                                           {"sigCnt"_s, "12"_s},
                                           {"rp"_s, QJsonObject{{"id"_s, QString::fromLatin1(kRp)}}},
                                           {"user"_s, QJsonObject{{"name"_s, "me"_s}, {"id"_s, "6d65"_s}}},
                                           {"privateKeyFile"_s, "mine.pem"_s},
                                           {"supportsResidentKey"_s, true}},
                               QJsonObject{{"id"_s, "not hexadecimal"_s},
                                           {"rp"_s, QJsonObject{{"id"_s, QString::fromLatin1(kRp)}}}},
                               QJsonObject{{"id"_s, "ff"_s}, {"rp"_s, 7}}});
        file.seek(0);
        file.write(QJsonDocument(root).toJson());
        file.close();

        const Host host(key);
        const SignIn login = signIn(host, {});
        QCOMPARE(login.result, FIDO_OK);
        QCOMPARE(copied(fido_assert_id_ptr(login.assertion.get(), 0), fido_assert_id_len(login.assertion.get(), 0)),
                 QByteArray::fromHex("00aabbccdd"));
        QCOMPARE(copied(fido_assert_user_id_ptr(login.assertion.get(), 0), 2), QByteArray("me"));
        QCOMPARE(int(fido_assert_sigcount(login.assertion.get(), 0)), 13);

        QProcess openssl; // the public half, by the tool that made the pair
        openssl.start(QStringLiteral("openssl"), {"pkey"_s, "-in"_s, pem, "-pubout"_s, "-outform"_s, "DER"_s});
        QVERIFY(openssl.waitForFinished());
        const QByteArray der = openssl.readAllStandardOutput();
        const int size = algorithm == COSE_ES256 ? 64 : 32;
        const Credential credential(fido_cred_new());
        es256_pk_t* es256 = es256_pk_new();
        eddsa_pk_t* eddsa = eddsa_pk_new();
        es256_pk_from_ptr(es256, raw(der.right(size)), std::size_t(size));
        eddsa_pk_from_ptr(eddsa, raw(der.right(size)), std::size_t(size));
        const void* publicKey = algorithm == COSE_ES256 ? static_cast<const void*>(es256) : eddsa;
        QCOMPARE(fido_assert_verify(login.assertion.get(), 0, algorithm, publicKey), FIDO_OK);
        es256_pk_free(&es256);
        eddsa_pk_free(&eddsa);
    }

    void countsGoOnAfterARestart()
    {
        KeyUnderTest key;
        std::uint32_t last = 0;
        QByteArray id;
        {
            const Host host(key);
            id = idOf(make(host, {}).credential);
        }
        for (int round = 0; round < 3; ++round) {
            key.restart();
            const Host host(key);
            for (int i = 0; i < 2; ++i) {
                const SignIn login = signIn(host, {id});
                QCOMPARE(login.result, FIDO_OK);
                QVERIFY(fido_assert_sigcount(login.assertion.get(), 0) > last);
                last = fido_assert_sigcount(login.assertion.get(), 0);
            }
        }
    }

    void twoHostsTakeTurns()
    {
        KeyUnderTest key;
        const Host first(key);
        const Host second(key);
        const Made one = make(first, {});
        const Made two = make(second, {COSE_ES256, false, nullptr, 'v'});
        QCOMPARE(signIn(first, {idOf(two.credential)}).result, FIDO_OK);
        QCOMPARE(signIn(second, {idOf(one.credential)}).result, FIDO_OK);
    }
};

PLUGBOARD_SUITE(Fido2PeerTest)
#include "fido2_peer_linux_test.moc"
