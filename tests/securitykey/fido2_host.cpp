#include "tests/securitykey/fido2_host.h"

#include <QtTest>

#include <fido/eddsa.h>
#include <fido/es256.h>

namespace fido2 {

namespace {

KeyUnderTest* s_opened = nullptr; // what the library opens next

void* open(const char*)
{
    return s_opened;
}
void close(void*)
{}

int read(void* handle, unsigned char* buffer, std::size_t size, int timeoutMs)
{
    auto& reports = static_cast<KeyUnderTest*>(handle)->reports;
    if (!QTest::qWaitFor([&reports] { return !reports.empty(); }, timeoutMs < 0 ? 5000 : timeoutMs))
        return -1;
    const QByteArray report = reports.front();
    reports.pop_front();
    std::copy_n(report.constData(), std::min(size, std::size_t(report.size())), buffer);
    return report.size();
}

int write(void* handle, const unsigned char* buffer, std::size_t size)
{
    static_cast<KeyUnderTest*>(handle)->key().takeReport(copied(buffer + 1, size - 1)); // behind the report's id
    return int(size);
}

QByteArray clientDataHash(char challenge)
{
    return QByteArray(32, challenge);
}

Credential wanted(const Wish& wish)
{
    Credential credential(fido_cred_new());
    const QByteArray user(1, wish.user);
    fido_cred_set_type(credential.get(), wish.algorithm);
    fido_cred_set_clientdata_hash(credential.get(), raw(clientDataHash('c')), 32);
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

} // namespace

Host::Host(KeyUnderTest& key, bool u2f)
{
    static const fido_dev_io_t s_io{open, close, read, write};
    s_opened = &key;
    m_device = fido_dev_new();
    if (fido_dev_set_io_functions(m_device, &s_io) != FIDO_OK || fido_dev_open(m_device, "key") != FIDO_OK)
        qFatal("The library does not open the key.");
    if (u2f)
        fido_dev_force_u2f(m_device);
}

Host::~Host()
{
    fido_dev_close(m_device);
    fido_dev_free(&m_device);
}

QByteArray idOf(const Credential& credential)
{
    return copied(fido_cred_id_ptr(credential.get()), fido_cred_id_len(credential.get()));
}

Made make(fido_dev_t* device, const Wish& wish)
{
    Made made{FIDO_OK, wanted(wish)};
    made.result = fido_dev_make_cred(device, made.credential.get(), wish.pin);
    if (made.result == FIDO_OK)
        made.result = fido_cred_verify(made.credential.get());
    return made;
}

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

} // namespace fido2
