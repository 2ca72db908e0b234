// test_key.h: an RSA key pair of the test's own, and messages made with it.
#pragma once

#include <QByteArray>

struct TestKey
{
    /// With 1024 bits k is 128 bytes, and one block carries up to 117.
    explicit TestKey(unsigned bits = 1024);

    /// The pair of a private key in PEM form; its parts are empty when it is none.
    explicit TestKey(const QByteArray& privatePemText);

    /// Ciphertext of the plaintext as the program makes it: one block, or chunks.
    QByteArray encrypt(const QByteArray& plaintext) const;

    QByteArray privatePem;
    QByteArray publicPem;
};
