#include "emulation/message/message_decoder.h"

#include <QtEndian>

#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/params.h>
#include <openssl/rsa.h>

#include <cstdint>

namespace {

constexpr int kWordSize = 4;
constexpr int kPaddingSize = 11;

std::uint32_t wordAt(const QByteArray& bytes, int position)
{
    return qFromBigEndian<std::uint32_t>(bytes.constData() + position);
}

/// Newer versions of OpenSSL answer a block with wrong padding with random bytes unless told not to. The parameter has
/// no macro in older headers, and older versions pass over it.
void reportWrongPadding(EVP_PKEY_CTX* context)
{
    unsigned int off = 0;
    const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_uint("implicit-rejection", &off), OSSL_PARAM_construct_end()};
    EVP_PKEY_CTX_set_params(context, parameters);
}

Outcome<QByteArray> decryptBlock(const char* block, const DeviceKey& key)
{
    const Fault wrongKey{QStringLiteral("The message does not decrypt with this device's key.")};
    const auto size = std::size_t(EVP_PKEY_get_size(key.get()));
    const openssl::KeyContext context{EVP_PKEY_CTX_new_from_pkey(nullptr, key.get(), nullptr)};
    if (!context || EVP_PKEY_decrypt_init(context.get()) <= 0 ||
        EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) <= 0)
        return wrongKey;
    reportWrongPadding(context.get());

    QByteArray plaintext(int(size), Qt::Uninitialized);
    std::size_t length = size;
    const int done = EVP_PKEY_decrypt(context.get(), reinterpret_cast<unsigned char*>(plaintext.data()), &length,
                                      reinterpret_cast<const unsigned char*>(block), size);
    ERR_clear_error();
    if (done <= 0)
        return wrongKey;
    plaintext.truncate(int(length));
    return plaintext;
}

Outcome<QByteArray> decryptChunks(const QByteArray& blob, const DeviceKey& key)
{
    const int blockSize = EVP_PKEY_get_size(key.get());
    const auto fullChunk = std::uint32_t(blockSize - kPaddingSize);
    const std::uint32_t count = wordAt(blob, 0);
    if (count == 0 ||
        kWordSize + std::uint64_t(count) * std::uint64_t(kWordSize + blockSize) != std::uint64_t(blob.size()))
        return Fault{QStringLiteral("The message announces %1 chunks, which do not fill its %2 bytes exactly.")
                         .arg(count)
                         .arg(blob.size())};

    QByteArray plaintext;
    for (std::uint32_t number = 1; number <= count; ++number) {
        const int position = kWordSize + int(number - 1) * (kWordSize + blockSize);
        const std::uint32_t announced = wordAt(blob, position);
        const bool fits = number < count ? announced == fullChunk : announced >= 1 && announced <= fullChunk;
        const auto chunk = decryptBlock(blob.constData() + position + kWordSize, key);
        if (!chunk)
            return chunk;
        if (!fits || std::uint32_t(chunk.value().size()) != announced)
            return Fault{QStringLiteral("Chunk %1 of the message announces %2 bytes and holds %3.")
                             .arg(number)
                             .arg(announced)
                             .arg(chunk.value().size())};
        plaintext += chunk.value();
    }
    return plaintext;
}

Outcome<QByteArray> decryptBlob(const QByteArray& blob, const DeviceKey& key)
{
    const int blockSize = EVP_PKEY_get_size(key.get());
    if (blob.size() == blockSize)
        return decryptBlock(blob.constData(), key);
    if (blob.size() < kWordSize + kWordSize + blockSize)
        return Fault{QStringLiteral("The message holds %1 bytes, less than the %2 of one block of this device's key.")
                         .arg(blob.size())
                         .arg(blockSize)};
    return decryptChunks(blob, key);
}

} // namespace

Outcome<QString> decodeMessage(const QByteArray& message, const DeviceKey& key)
{
    if (message.isEmpty())
        return Fault{QStringLiteral("The message is empty.")};
    if (message.size() > kLongestMessage)
        return Fault{QStringLiteral("The message is longer than %1 bytes.").arg(kLongestMessage)};
    const QByteArray blob = QByteArray::fromBase64(message);
    if (blob.toBase64() != message)
        return Fault{QStringLiteral("The message is not base64 text.")};

    const auto plaintext = decryptBlob(blob, key);
    if (!plaintext)
        return Fault{plaintext.fault()};
    const QString text = QString::fromUtf8(plaintext.value());
    if (text.toUtf8() != plaintext.value())
        return Fault{QStringLiteral("The message is not UTF-8 text.")};
    return text;
}
