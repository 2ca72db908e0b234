#include "devices/parameter_encryptor.h"

#include <QtEndian>

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <algorithm>

namespace {

/// What the padding of one block takes from it, in bytes.
constexpr int kPaddingSize = 11;

void appendBigEndian(QByteArray& bytes, int value)
{
    const quint32 word = qToBigEndian(static_cast<quint32>(value));
    bytes.append(reinterpret_cast<const char*>(&word), sizeof word);
}

/// The key of the first "PUBLIC KEY" block. Done in two steps, because PEM_read_bio_PUBKEY tries every decoder that
/// the library has and takes three times as long, for each device that is created.
openssl::Key readPublicKey(BIO* pem)
{
    unsigned char* der = nullptr;
    long size = 0;
    if (PEM_bytes_read_bio(&der, &size, nullptr, PEM_STRING_PUBLIC, pem, openssl::refusePassphrase, nullptr) <= 0)
        return nullptr;
    const unsigned char* position = der;
    openssl::Key key(d2i_PUBKEY(nullptr, &position, size));
    OPENSSL_free(der);
    return key;
}

} // namespace

ParameterEncryptor::ParameterEncryptor()
{
    openssl::initialise();
}

bool ParameterEncryptor::loadPublicKey(const QByteArray& pem)
{
    m_key.reset();
    const openssl::Bio bio(BIO_new_mem_buf(pem.constData(), pem.size()));
    if (!bio) {
        m_lastError = QStringLiteral("Failed to create BIO");
        return false;
    }
    openssl::Key key = readPublicKey(bio.get());
    ERR_clear_error();
    if (!key) {
        m_lastError = QStringLiteral("Failed to read public key from PEM");
        return false;
    }
    if (EVP_PKEY_get_base_id(key.get()) != EVP_PKEY_RSA) {
        m_lastError = QStringLiteral("Key is not an RSA key");
        return false;
    }
    m_key = std::move(key);
    return true;
}

int ParameterEncryptor::maximumBlockPlaintext() const
{
    return m_key ? std::max(0, EVP_PKEY_get_size(m_key.get()) - kPaddingSize) : 0;
}

QByteArray ParameterEncryptor::encrypt(const QByteArray& plaintext)
{
    if (!m_key) {
        m_lastError = QStringLiteral("No public key available");
        return {};
    }
    const int chunkSize = maximumBlockPlaintext();
    if (chunkSize == 0) {
        m_lastError = QStringLiteral("Failed to get RSA from public key");
        return {};
    }
    if (plaintext.size() <= chunkSize)
        return encryptBlock(plaintext);

    QByteArray blob;
    appendBigEndian(blob, (plaintext.size() - 1) / chunkSize + 1);
    for (int position = 0; position < plaintext.size(); position += chunkSize) {
        const QByteArray chunk = plaintext.mid(position, chunkSize);
        const QByteArray ciphertext = encryptBlock(chunk);
        if (ciphertext.isEmpty())
            return {};
        appendBigEndian(blob, chunk.size());
        blob += ciphertext;
    }
    return blob;
}

QByteArray ParameterEncryptor::encryptBlock(const QByteArray& plaintext)
{
    const auto fail = [this](const QString& error) {
        m_lastError = error;
        ERR_clear_error();
        return QByteArray();
    };
    const openssl::KeyContext context(EVP_PKEY_CTX_new(m_key.get(), nullptr));
    if (!context)
        return fail(QStringLiteral("Failed to create encryption context"));
    if (EVP_PKEY_encrypt_init(context.get()) <= 0)
        return fail(QStringLiteral("Failed to initialise encryption"));
    if (EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) <= 0)
        return fail(QStringLiteral("Failed to set RSA padding"));

    const auto* input = reinterpret_cast<const unsigned char*>(plaintext.constData());
    const auto inputSize = static_cast<std::size_t>(plaintext.size());
    std::size_t size = 0;
    if (EVP_PKEY_encrypt(context.get(), nullptr, &size, input, inputSize) <= 0)
        return fail(QStringLiteral("Failed to get encrypted length"));
    QByteArray ciphertext(static_cast<int>(size), Qt::Uninitialized);
    if (EVP_PKEY_encrypt(context.get(), reinterpret_cast<unsigned char*>(ciphertext.data()), &size, input, inputSize) <=
        0)
        return fail(QStringLiteral("Failed to encrypt data"));
    ciphertext.truncate(static_cast<int>(size));
    return ciphertext;
}
