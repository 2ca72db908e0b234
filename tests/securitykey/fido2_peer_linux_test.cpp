#include "tests/securitykey/key_under_test.h"
#include "tests/support/suite_registry.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QtTest>

#include <fido.h>
#include <fido/credman.h>
#include <fido/eddsa.h>
#include <fido/es256.h>

#include <memory>

namespace {

template<auto Free>
struct Freed
{
    template<typename T>
    void operator()(T* object) const
    {
        Free(&object);
    }
};

using Credential = std::unique_ptr<fido_cred_t, Freed<fido_cred_free>>;
using Assertion = std::unique_ptr<fido_assert_t, Freed<fido_assert_free>>;
using Information = std::unique_ptr<fido_cbor_info_t, Freed<fido_cbor_info_free>>;

QString operator""_s(const char* text, std::size_t size)
{
    return QString::fromUtf8(text, int(size));
}

constexpr char kRp[] = "shop.example";
constexpr char kPin[] = "1234";

const unsigned char* raw(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

QByteArray copied(const unsigned char* bytes, std::size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(bytes), int(size));
}

QByteArray clientDataHash(char challenge = 'c')
{
    return QByteArray(32, challenge);
}

/// The library's handle of a key in this process: what it writes goes to the key, what it reads comes from there.
class Host
{
public:
    explicit Host(KeyUnderTest& key, bool u2f = false)
    {
        static const fido_dev_io_t s_io{open, close, read, write};
        s_key = &key;
        m_device = fido_dev_new();
        if (fido_dev_set_io_functions(m_device, &s_io) != FIDO_OK || fido_dev_open(m_device, "key") != FIDO_OK)
            qFatal("The library does not open the key.");
        if (u2f)
            fido_dev_force_u2f(m_device);
    }
    ~Host()
    {
        fido_dev_close(m_device);
        fido_dev_free(&m_device);
    }
    operator fido_dev_t*() const { return m_device; }

private:
    static void* open(const char*) { return s_key; }
    static void close(void*) {}

    static int read(void* handle, unsigned char* buffer, std::size_t size, int timeoutMs)
    {
        auto& reports = static_cast<KeyUnderTest*>(handle)->reports;
        if (!QTest::qWaitFor([&reports] { return !reports.empty(); }, timeoutMs < 0 ? 5000 : timeoutMs))
            return -1;
        const QByteArray report = reports.front();
        reports.pop_front();
        std::copy_n(report.constData(), std::min(size, std::size_t(report.size())), buffer);
        return report.size();
    }

    static int write(void* handle, const unsigned char* buffer, std::size_t size)
    {
        static_cast<KeyUnderTest*>(handle)->key().takeReport(copied(buffer + 1, size - 1)); // behind the report's id
        return int(size);
    }

    inline static KeyUnderTest* s_key = nullptr;
    fido_dev_t* m_device = nullptr;
};

struct Wish
{
    int algorithm = COSE_ES256;
    bool discoverable = false;
    const char* pin = nullptr;
    char user = 'u';
    int extensions = 0;
    int protection = 0;
    QByteArray excluded = {};
};

Credential wanted(const Wish& wish)
{
    Credential credential(fido_cred_new());
    const QByteArray user(1, wish.user);
    fido_cred_set_type(credential.get(), wish.algorithm);
    fido_cred_set_clientdata_hash(credential.get(), raw(clientDataHash()), 32);
    fido_cred_set_rp(credential.get(), kRp, "Shop");
    fido_cred_set_user(credential.get(), raw(user), 1, "ann", "Ann", nullptr);
    fido_cred_set_rk(credential.get(), wish.discoverable ? FIDO_OPT_TRUE : FIDO_OPT_OMIT);
    if (wish.extensions != 0)
        fido_cred_set_extensions(credential.get(), wish.extensions);
    if (wish.protection != 0)
        fido_cred_set_prot(credential.get(), wish.protection);
    if (!wish.excluded.isEmpty())
        fido_cred_exclude(credential.get(), raw(wish.excluded), std::size_t(wish.excluded.size()));
    return credential;
}

QByteArray idOf(const Credential& credential)
{
    return copied(fido_cred_id_ptr(credential.get()), fido_cred_id_len(credential.get()));
}

struct Made
{
    int result = FIDO_OK;
    Credential credential;
};

/// Registers and verifies the attestation.
Made make(fido_dev_t* device, const Wish& wish)
{
    Made made{FIDO_OK, wanted(wish)};
    made.result = fido_dev_make_cred(device, made.credential.get(), wish.pin);
    if (made.result == FIDO_OK)
        made.result = fido_cred_verify(made.credential.get());
    return made;
}

struct SignIn
{
    int result = FIDO_OK;
    Assertion assertion;
};

struct Login
{
    QByteArray id; ///< empty: any
    const char* pin = nullptr;
    fido_opt_t presence = FIDO_OPT_OMIT;
    QByteArray salt = {}; ///< of hmac-secret
};

SignIn signIn(fido_dev_t* device, const Login& login)
{
    SignIn made{FIDO_OK, Assertion(fido_assert_new())};
    fido_assert_t* assertion = made.assertion.get();
    fido_assert_set_rp(assertion, kRp);
    fido_assert_set_clientdata_hash(assertion, raw(clientDataHash('a')), 32);
    fido_assert_set_up(assertion, login.presence);
    if (!login.id.isEmpty())
        fido_assert_allow_cred(assertion, raw(login.id), std::size_t(login.id.size()));
    if (!login.salt.isEmpty()) {
        fido_assert_set_extensions(assertion, FIDO_EXT_HMAC_SECRET);
        fido_assert_set_hmac_salt(assertion, raw(login.salt), std::size_t(login.salt.size()));
    }
    made.result = fido_dev_get_assert(device, assertion, login.pin);
    return made;
}

/// Whether the first statement is signed by that credential.
int verified(const SignIn& login, const Credential& credential)
{
    const unsigned char* bytes = fido_cred_pubkey_ptr(credential.get());
    const std::size_t size = fido_cred_pubkey_len(credential.get());
    const int algorithm = fido_cred_type(credential.get());
    es256_pk_t* es256 = es256_pk_new();
    eddsa_pk_t* eddsa = eddsa_pk_new();
    const int read =
        algorithm == COSE_ES256 ? es256_pk_from_ptr(es256, bytes, size) : eddsa_pk_from_ptr(eddsa, bytes, size);
    const void* key = algorithm == COSE_ES256 ? static_cast<const void*>(es256) : eddsa;
    const int result = read == FIDO_OK ? fido_assert_verify(login.assertion.get(), 0, algorithm, key) : read;
    es256_pk_free(&es256);
    eddsa_pk_free(&eddsa);
    return result;
}

int retriesOf(fido_dev_t* device)
{
    int retries = -1;
    fido_dev_get_retry_count(device, &retries);
    return retries;
}

} // namespace

Q_DECLARE_METATYPE(ctap::Verdict)

class Fido2PeerTest : public QObject
{
    Q_OBJECT

private slots:
    void saysWhatItCan_data();
    void saysWhatItCan();
    void registersAndSignsIn_data();
    void registersAndSignsIn();
    void u2fRegistersAndSignsIn();
    void asksBeforeItActs_data();
    void asksBeforeItActs();
    void excludesWhatItHas();
    void letsTheUserChoose();
    void newCredentialOfAUserReplacesTheOld();
    void locksAfterWrongPins();
    void pinsAreSetAndChanged();
    void managesCredentials();
    void resetLeavesNothing();
    void protectionNeedsThePin_data();
    void protectionNeedsThePin();
    void secretsBelongToOneCredential();
    void keyMadeByHandSignsIn_data();
    void keyMadeByHandSignsIn();
    void countsGoOnAfterARestart();
    void twoHostsTakeTurns();
};

void Fido2PeerTest::saysWhatItCan_data()
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

void Fido2PeerTest::saysWhatItCan()
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

void Fido2PeerTest::registersAndSignsIn_data()
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

void Fido2PeerTest::registersAndSignsIn()
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

void Fido2PeerTest::u2fRegistersAndSignsIn()
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

void Fido2PeerTest::asksBeforeItActs_data()
{
    using ctap::Verdict;
    QTest::addColumn<Verdict>("verdict");
    QTest::addColumn<int>("result");
    QTest::newRow("confirmed") << Verdict::Confirmed << FIDO_OK;
    QTest::newRow("denied") << Verdict::Denied << FIDO_ERR_OPERATION_DENIED;
    QTest::newRow("not answered") << Verdict::TimedOut << FIDO_ERR_USER_ACTION_TIMEOUT;
}

void Fido2PeerTest::asksBeforeItActs()
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

void Fido2PeerTest::excludesWhatItHas()
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

void Fido2PeerTest::letsTheUserChoose()
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
        users +=
            copied(fido_assert_user_id_ptr(all.assertion.get(), i), fido_assert_user_id_len(all.assertion.get(), i));
    QCOMPARE(users, QByteArray("cba"));
    QCOMPARE(key.user.lastQuestion.value("availableCredentials"_s).toArray().size(), 3);
    QVERIFY(key.user.lastQuestion.value("isPasswordlessLogin"_s).toBool());

    key.user.answers = {{ctap::Verdict::Confirmed, {{"selectedCredentialIndex"_s, 2}}}};
    const SignIn chosen = signIn(host, {});
    QCOMPARE(int(fido_assert_count(chosen.assertion.get())), 1);
    QCOMPARE(copied(fido_assert_user_id_ptr(chosen.assertion.get(), 0), 1), QByteArray("a"));
}

void Fido2PeerTest::newCredentialOfAUserReplacesTheOld()
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

void Fido2PeerTest::locksAfterWrongPins()
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

void Fido2PeerTest::pinsAreSetAndChanged()
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
    QCOMPARE(make(host, {COSE_ES256, true}).result, FIDO_ERR_PIN_REQUIRED); // discoverable ones need it once it is set
    QCOMPARE(make(host, {COSE_ES256, false}).result, FIDO_OK);
    QCOMPARE(make(host, {COSE_ES256, true, kPin}).result, FIDO_OK);
}

void Fido2PeerTest::managesCredentials()
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

void Fido2PeerTest::resetLeavesNothing()
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

void Fido2PeerTest::protectionNeedsThePin_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("byIdAlone");
    QTest::addColumn<bool>("withoutId");
    QTest::newRow("optional") << 1 << true << true;
    QTest::newRow("optional with its id") << 2 << true << false;
    QTest::newRow("required") << 3 << false << false;
}

void Fido2PeerTest::protectionNeedsThePin()
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

void Fido2PeerTest::secretsBelongToOneCredential()
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

void Fido2PeerTest::keyMadeByHandSignsIn_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<int>("algorithm");
    QTest::newRow("ecparam, SEC 1") << "ecparam -name prime256v1 -genkey -noout -out %1"_s << COSE_ES256;
    QTest::newRow("genpkey, PKCS 8") << "genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out %1"_s
                                     << COSE_ES256;
    QTest::newRow("Ed25519") << "genpkey -algorithm ed25519 -out %1"_s << COSE_EDDSA;
}

void Fido2PeerTest::keyMadeByHandSignsIn()
{
    QFETCH(QString, command);
    QFETCH(int, algorithm);
    KeyUnderTest key;
    const QString pem = key.folder() + QStringLiteral("/mine.pem");
    QCOMPARE(QProcess::execute(QStringLiteral("openssl"), command.arg(pem).split(QLatin1Char(' '))), 0);
    QFile file(key.file("credentials.json"));
    QVERIFY(file.open(QIODevice::ReadWrite));
    QJsonObject root = QJsonDocument::fromJson(file.readAll()).object();
    root.insert("credentials"_s, QJsonArray{QJsonObject{{"id"_s, "00AABBCCDD"_s},
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

void Fido2PeerTest::countsGoOnAfterARestart()
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

void Fido2PeerTest::twoHostsTakeTurns()
{
    KeyUnderTest key;
    const Host first(key);
    const Host second(key);
    const Made one = make(first, {});
    const Made two = make(second, {COSE_ES256, false, nullptr, 'v'});
    QCOMPARE(signIn(first, {idOf(two.credential)}).result, FIDO_OK);
    QCOMPARE(signIn(second, {idOf(one.credential)}).result, FIDO_OK);
}

PLUGBOARD_SUITE(Fido2PeerTest)
#include "fido2_peer_linux_test.moc"
