// parameter_encryptor.h: encrypts device parameters for the device process with its RSA public key.
#pragma once

#include "devices/openssl_handles.h"

#include <QByteArray>
#include <QString>

/// RSA with PKCS #1 v1.5 encryption padding (RFC 8017, 7.2). With k the modulus size in bytes, one block carries up to
/// k - 11 bytes. Text that fits is one bare ciphertext of k bytes; longer text is chunked: a 4-byte big-endian count,
/// then for each chunk the 4-byte big-endian length of its plaintext and its ciphertext of k bytes.
class ParameterEncryptor
{
public:
    ParameterEncryptor();

    /// Takes a PEM "PUBLIC KEY" block. False, with lastError() set, when it is not one or not an RSA key.
    bool loadPublicKey(const QByteArray& pem);

    /// k - 11, or 0 while no usable key is loaded.
    int maximumBlockPlaintext() const;

    /// The blob; empty, with lastError() set, when anything fails. Empty text is one block.
    QByteArray encrypt(const QByteArray& plaintext);

    QString lastError() const { return m_lastError; }

private:
    QByteArray encryptBlock(const QByteArray& plaintext);

    openssl::Key m_key;
    QString m_lastError;
};
