#include "emulation/securitykey/crypto.h"

#include "devices/openssl_handles.h"

#include <QCryptographicHash>
#include <QMessageAuthenticationCode>

#include <openssl/rand.h>

namespace ctap {

namespace {

unsigned char* raw(QByteArray& bytes)
{
    return reinterpret_cast<unsigned char*>(bytes.data());
}

const unsigned char* raw(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

} // namespace

QByteArray sha256(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

QByteArray hmacSha256(const QByteArray& key, const QByteArray& message)
{
    return QMessageAuthenticationCode::hash(message, key, QCryptographicHash::Sha256);
}

QByteArray hkdfSha256(const QByteArray& secret, const QByteArray& info)
{
    const QByteArray extracted = hmacSha256(QByteArray(32, '\0'), secret);
    return hmacSha256(extracted, info + '\x01'); // the first block is as long as what is wanted
}

std::optional<QByteArray> aes256Cbc(Direction direction, const QByteArray& key, const QByteArray& vector,
                                    const QByteArray& bytes)
{
    const openssl::CipherContext context(EVP_CIPHER_CTX_new());
    QByteArray result(bytes.size() + EVP_MAX_BLOCK_LENGTH, '\0');
    int size = 0;
    int rest = 0;
    const bool done = context &&
                      EVP_CipherInit_ex2(context.get(), EVP_aes_256_cbc(), raw(key), raw(vector),
                                         direction == Direction::Encrypt ? 1 : 0, nullptr) == 1 &&
                      EVP_CIPHER_CTX_set_padding(context.get(), 0) == 1 &&
                      EVP_CipherUpdate(context.get(), raw(result), &size, raw(bytes), bytes.size()) == 1 &&
                      EVP_CipherFinal_ex(context.get(), raw(result) + size, &rest) == 1;
    return done ? std::optional(result.left(size + rest)) : std::nullopt;
}

QByteArray randomBytes(int count)
{
    QByteArray bytes(count, '\0');
    if (RAND_priv_bytes(raw(bytes), count) != 1)
        qFatal("There are no random numbers.");
    return bytes;
}

bool sameSecret(const QByteArray& left, const QByteArray& right)
{
    return left.size() == right.size() &&
           CRYPTO_memcmp(left.constData(), right.constData(), std::size_t(left.size())) == 0;
}

} // namespace ctap
