// fido2_host.h: a host of security keys, the client library that hosts use, against a key in the test's own process.
#pragma once

#include "tests/securitykey/key_under_test.h"

#include <QByteArray>

#include <fido.h>

#include <memory>

namespace fido2 {

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

constexpr char kRp[] = "shop.example";
constexpr char kPin[] = "1234";

inline const unsigned char* raw(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

inline QByteArray copied(const unsigned char* bytes, std::size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(bytes), int(size));
}

/// The library's handle of a key: what it writes goes to the key, what it reads comes from there.
class Host
{
public:
    explicit Host(KeyUnderTest& key, bool u2f = false);
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    operator fido_dev_t*() const { return m_device; }

private:
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

struct Made
{
    int result = FIDO_OK;
    Credential credential;
};

/// Registers and verifies the attestation.
Made make(fido_dev_t* device, const Wish& wish);

QByteArray idOf(const Credential& credential);

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

SignIn signIn(fido_dev_t* device, const Login& login);

/// FIDO_OK when the first statement is signed by that credential.
int verified(const SignIn& login, const Credential& credential);

} // namespace fido2
