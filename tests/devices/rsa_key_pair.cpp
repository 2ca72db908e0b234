#include "tests/devices/rsa_key_pair.h"

#include <QtEndian>

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

namespace {

QByteArray content(BIO* bio)
{
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    return QByteArray(data, static_cast<int>(size));
}

QByteArray publicPemOf(EVP_PKEY* key)
{
    const openssl::Bio bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_PUBKEY(bio.get(), key);
    return content(bio.get());
}

} // namespace

RsaKeyPair RsaKeyPair::make(unsigned bits)
{
    RsaKeyPair pair;
    pair.m_key.reset(EVP_RSA_gen(bits));
    return pair;
}

RsaKeyPair RsaKeyPair::fromPrivatePem(const QByteArray& pem)
{
    RsaKeyPair pair;
    const openssl::Bio bio(BIO_new_mem_buf(pem.constData(), pem.size()));
    pair.m_key.reset(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr));
    return pair;
}

QByteArray RsaKeyPair::publicPem() const
{
    return publicPemOf(m_key.get());
}

QByteArray RsaKeyPair::privatePem() const
{
    const openssl::Bio bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_PrivateKey(bio.get(), m_key.get(), nullptr, nullptr, 0, nullptr, nullptr);
    return content(bio.get());
}

QByteArray RsaKeyPair::decryptBlock(const QByteArray& ciphertext) const
{
    const openssl::KeyContext context(EVP_PKEY_CTX_new(m_key.get(), nullptr));
    EVP_PKEY_decrypt_init(context.get());
    EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING);
    QByteArray plaintext(EVP_PKEY_get_size(m_key.get()), '\0');
    auto size = static_cast<std::size_t>(plaintext.size());
    if (EVP_PKEY_decrypt(context.get(), reinterpret_cast<unsigned char*>(plaintext.data()), &size,
                         reinterpret_cast<const unsigned char*>(ciphertext.constData()),
                         static_cast<std::size_t>(ciphertext.size())) <= 0)
        return {};
    plaintext.truncate(static_cast<int>(size));
    return plaintext;
}

QByteArray RsaKeyPair::decryptBlob(const QByteArray& blob) const
{
    const int k = EVP_PKEY_get_size(m_key.get());
    if (blob.size() == k)
        return decryptBlock(blob);
    const auto wordAt = [&](int position) { return qFromBigEndian<quint32>(blob.constData() + position); };
    if (blob.size() < 4 || static_cast<qint64>(blob.size()) != 4 + static_cast<qint64>(wordAt(0)) * (4 + k))
        return {};
    QByteArray plaintext("");
    for (int position = 4; position < blob.size(); position += 4 + k) {
        const QByteArray chunk = decryptBlock(blob.mid(position + 4, k));
        const bool last = position + 4 + k == blob.size();
        if (static_cast<int>(wordAt(position)) != chunk.size() || chunk.isEmpty() || (!last && chunk.size() != k - 11))
            return {};
        plaintext += chunk;
    }
    return plaintext;
}

QByteArray ecPublicPem()
{
    const openssl::Key key(EVP_EC_gen("P-256"));
    return publicPemOf(key.get());
}
