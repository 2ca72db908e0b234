#include "tests/securitykey/fido2_host.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

#include <fido/credman.h>

using namespace fido2;

namespace {

QString operator""_s(const char* text, std::size_t size)
{
    return QString::fromUtf8(text, int(size));
}

int retriesOf(fido_dev_t* device)
{
    int retries = -1;
    fido_dev_get_retry_count(device, &retries);
    return retries;
}

} // namespace

/// What a PIN protects, and what it takes to lose it.
class Fido2PinTest : public QObject
{
    Q_OBJECT

private slots:
    void locksAfterWrongPins()
    {
        KeyUnderTest key;
        {
            const Host host(key);
            QCOMPARE(fido_dev_set_pin(host, kPin, nullptr), FIDO_OK);
            const auto attempt = [&host](const char* pin) { return make(host, {COSE_ES256, true, pin}).result; };
            QCOMPARE(attempt("0000"), FIDO_ERR_PIN_INVALID);
            QCOMPARE(attempt(kPin), FIDO_OK);
            QCOMPARE(retriesOf(host), 8);
            QCOMPARE(attempt("0000"), FIDO_ERR_PIN_INVALID);
            QCOMPARE(attempt("0000"), FIDO_ERR_PIN_INVALID);
            QCOMPARE(attempt("0000"), FIDO_ERR_PIN_AUTH_BLOCKED);
            QCOMPARE(attempt(kPin), FIDO_ERR_PIN_AUTH_BLOCKED); // until it is plugged in again
            QCOMPARE(retriesOf(host), 5);
        }
        key.restart(); // attempts outlive the process
        int wrong = 3;
        for (int last = FIDO_OK; last != FIDO_ERR_PIN_BLOCKED && wrong < 20; ++wrong) {
            key.replug();
            const Host host(key);
            QCOMPARE(retriesOf(host), 8 - wrong);
            last = make(host, {COSE_ES256, true, "0000"}).result;
        }
        QCOMPARE(wrong, 8);
        key.restart();
        const Host host(key);
        QCOMPARE(make(host, {COSE_ES256, true, kPin}).result, FIDO_ERR_PIN_BLOCKED);
        QCOMPARE(retriesOf(host), 0);
        QCOMPARE(fido_dev_reset(host), FIDO_OK); // the one way out
        QCOMPARE(make(host, {COSE_ES256, true}).result, FIDO_OK);
    }

    void pinsAreSetAndChanged()
    {
        KeyUnderTest key;
        const Host host(key);
        QCOMPARE(fido_dev_set_pin(host, "123", nullptr), FIDO_ERR_PIN_POLICY_VIOLATION);
        QCOMPARE(fido_dev_set_pin(host, "\u00e4\u00f6\u00fc", nullptr), FIDO_ERR_PIN_POLICY_VIOLATION); // six bytes
        QCOMPARE(fido_dev_set_pin(host, "\u00e4\u00f6\u00fc\u00df", nullptr), FIDO_OK);
        QCOMPARE(key.store().pin().hash,
                 QCryptographicHash::hash(QByteArray("\u00e4\u00f6\u00fc\u00df"), QCryptographicHash::Sha256).left(16));
        QCOMPARE(fido_dev_set_pin(host, kPin, nullptr), FIDO_ERR_PIN_AUTH_INVALID); // there is one
        QCOMPARE(fido_dev_set_pin(host, kPin, "0000"), FIDO_ERR_PIN_INVALID);
        QCOMPARE(fido_dev_set_pin(host, kPin, "\u00e4\u00f6\u00fc\u00df"), FIDO_OK);
        QCOMPARE(make(host, {COSE_ES256, true}).result,
                 FIDO_ERR_PIN_REQUIRED); // discoverable ones need it once it is set
        QCOMPARE(make(host, {COSE_ES256, false}).result, FIDO_OK);
        QCOMPARE(make(host, {COSE_ES256, true, kPin}).result, FIDO_OK);
    }

    void managesCredentials()
    {
        KeyUnderTest key;
        const Host host(key);
        QCOMPARE(fido_dev_set_pin(host, kPin, nullptr), FIDO_OK);
        for (const char user : {'a', 'b'})
            QCOMPARE(make(host, {COSE_ES256, true, kPin, user}).result, FIDO_OK);
        QCOMPARE(make(host, {COSE_ES256, false, kPin, 'c'}).result, FIDO_OK); // not discoverable: it is not shown

        fido_credman_metadata_t* metadata = fido_credman_metadata_new();
        QCOMPARE(fido_credman_get_dev_metadata(host, metadata, kPin), FIDO_OK);
        QCOMPARE(int(fido_credman_rk_existing(metadata)), 2);
        fido_credman_metadata_free(&metadata);

        fido_credman_rp_t* parties = fido_credman_rp_new();
        QCOMPARE(fido_credman_get_dev_rp(host, parties, kPin), FIDO_OK);
        QCOMPARE(int(fido_credman_rp_count(parties)), 1);
        QCOMPARE(fido_credman_rp_id(parties, 0), kRp);
        fido_credman_rp_free(&parties);

        const auto list = [&host] {
            QStringList names;
            fido_credman_rk_t* credentials = fido_credman_rk_new();
            if (fido_credman_get_dev_rk(host, kRp, credentials, kPin) == FIDO_OK) {
                for (std::size_t i = 0; i < fido_credman_rk_count(credentials); ++i)
                    names << QString::fromUtf8(fido_cred_user_name(fido_credman_rk(credentials, i)));
            }
            fido_credman_rk_free(&credentials);
            return names;
        };
        QCOMPARE(list(), (QStringList{"ann"_s, "ann"_s}));
        const QByteArray id = key.store().credentials().front().id;
        Credential changed(fido_cred_new());
        fido_cred_set_id(changed.get(), raw(id), std::size_t(id.size()));
        fido_cred_set_user(changed.get(), raw(QByteArray("a")), 1, "eve", "Eve", nullptr);
        QCOMPARE(fido_credman_set_dev_rk(host, changed.get(), kPin), FIDO_OK);
        QCOMPARE(list(), (QStringList{"eve"_s, "ann"_s}));

        QCOMPARE(fido_credman_del_dev_rk(host, raw(id), std::size_t(id.size()), "0000"), FIDO_ERR_PIN_INVALID);
        QCOMPARE(fido_credman_del_dev_rk(host, raw(id), std::size_t(id.size()), kPin), FIDO_OK);
        QCOMPARE(list(), QStringList{"ann"_s});
    }

    void resetLeavesNothing()
    {
        KeyUnderTest key;
        const Host host(key);
        QCOMPARE(fido_dev_set_pin(host, kPin, nullptr), FIDO_OK);
        const Made made = make(host, {COSE_ES256, true, kPin});
        QCOMPARE(made.result, FIDO_OK);
        const ctap::Credential credential = key.store().credentials().front();
        QCOMPARE(fido_dev_reset(host), FIDO_OK);
        QVERIFY(!QFile::exists(credential.privateKeyFile) && !QFile::exists(credential.publicKeyFile));
        QVERIFY(!key.store().pin().isSet);
        QCOMPARE(signIn(host, {idOf(made.credential)}).result, FIDO_ERR_NO_CREDENTIALS);
        QCOMPARE(make(host, {COSE_ES256, true}).result, FIDO_OK);
    }

    void protectionNeedsThePin_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<bool>("byIdAlone");
        QTest::addColumn<bool>("withoutId");
        QTest::newRow("optional") << 1 << true << true;
        QTest::newRow("optional with its id") << 2 << true << false;
        QTest::newRow("required") << 3 << false << false;
    }

    void protectionNeedsThePin()
    {
        QFETCH(int, level);
        QFETCH(bool, byIdAlone);
        QFETCH(bool, withoutId);
        KeyUnderTest key;
        const Host host(key);
        QCOMPARE(fido_dev_set_pin(host, kPin, nullptr), FIDO_OK);
        const Made made = make(host, {COSE_ES256, true, kPin, 'u', FIDO_EXT_CRED_PROTECT, level});
        QCOMPARE(made.result, FIDO_OK);
        QCOMPARE(fido_cred_prot(made.credential.get()), level);
        const auto expected = [](bool works) { return works ? FIDO_OK : FIDO_ERR_NO_CREDENTIALS; };
        QCOMPARE(signIn(host, {idOf(made.credential)}).result, expected(byIdAlone));
        QCOMPARE(signIn(host, {}).result, expected(withoutId));
        QCOMPARE(signIn(host, {{}, kPin}).result, FIDO_OK);
        QCOMPARE(make(host, {COSE_ES256, false, nullptr, 'u', 0, 0, idOf(made.credential)}).result,
                 byIdAlone ? FIDO_ERR_CREDENTIAL_EXCLUDED : FIDO_OK);
    }

    void secretsBelongToOneCredential()
    {
        KeyUnderTest key;
        const Host host(key);
        QCOMPARE(fido_dev_set_pin(host, kPin, nullptr), FIDO_OK);
        const auto secret = [&host](const Made& made, const char* pin, char salt) {
            const SignIn login = signIn(host, {idOf(made.credential), pin, FIDO_OPT_OMIT, QByteArray(64, salt)});
            return copied(fido_assert_hmac_secret_ptr(login.assertion.get(), 0),
                          fido_assert_hmac_secret_len(login.assertion.get(), 0));
        };
        const Made first = make(host, {COSE_ES256, false, kPin, 'a', FIDO_EXT_HMAC_SECRET});
        const Made second = make(host, {COSE_ES256, false, kPin, 'b', FIDO_EXT_HMAC_SECRET});
        QCOMPARE(first.result, FIDO_OK);
        const QByteArray once = secret(first, kPin, 's');
        QCOMPARE(once.size(), 64);
        QCOMPARE(once.left(32), once.mid(32)); // both salts are the same
        QCOMPARE(secret(first, kPin, 's'), once);
        QVERIFY(secret(first, kPin, 't') != once);
        QVERIFY(secret(second, kPin, 's') != once);
        QVERIFY(secret(first, nullptr, 's') != once); // another secret for whoever lacks the PIN
    }
};

PLUGBOARD_SUITE(Fido2PinTest)
#include "fido2_pin_linux_test.moc"
