#include "tests/support/test_key.h"

#include "devices/openssl_handles.h"
#include "devices/parameter_encryptor.h"

#include <openssl/pem.h>
#include <openssl/rsa.h>

namespace {

QByteArray contentOf(BIO* bio)
{
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(bio, &bytes);
    return QByteArray(bytes, int(size));
}

QByteArray publicPemOf(EVP_PKEY* key)
{
    const openssl::Bio bio{BIO_new(BIO_s_mem())};
    return key && PEM_write_bio_PUBKEY(bio.get(), key) == 1 ? contentOf(bio.get()) : QByteArray();
}

QByteArray privatePemOf(EVP_PKEY* key)
{
    const openssl::Bio bio{BIO_new(BIO_s_mem())};
    return PEM_write_bio_PrivateKey(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1 ? contentOf(bio.get())
                                                                                                : QByteArray();
}

} // namespace

TestKey::TestKey(unsigned bits)
{
    const openssl::Key key{EVP_RSA_gen(bits)};
    privatePem = privatePemOf(key.get());
    publicPem = publicPemOf(key.get());
}

TestKey::TestKey(const QByteArray& privatePemText) : privatePem(privatePemText)
{
    const openssl::Bio bio{BIO_new_mem_buf(privatePem.constData(), privatePem.size())};
    const openssl::Key key{PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr)};
    publicPem = publicPemOf(key.get());
}

QByteArray TestKey::encrypt(const QByteArray& plaintext) const
{
    ParameterEncryptor encryptor;
    return encryptor.loadPublicKey(publicPem) ? encryptor.encrypt(plaintext) : QByteArray();
}
