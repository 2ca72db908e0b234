// rsa_key_pair.h: keys of tests, and the device process's half of the encryption.
#pragma once

#include "devices/openssl_handles.h"

#include <QByteArray>

class RsaKeyPair
{
public:
    static RsaKeyPair make(unsigned bits);
    static RsaKeyPair fromPrivatePem(const QByteArray& pem);

    bool valid() const { return m_key != nullptr; }
    QByteArray publicPem() const;
    QByteArray privatePem() const;

    /// One block, decrypted; null (not just empty) when that fails.
    QByteArray decryptBlock(const QByteArray& ciphertext) const;

    /// A whole blob, its framing checked byte by byte; null when anything is off.
    QByteArray decryptBlob(const QByteArray& blob) const;

private:
    openssl::Key m_key;
};

QByteArray ecPublicPem();
