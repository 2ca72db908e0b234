// test_key.h: an RSA key pair of the test's own, and messages made with it.
#pragma once

#include <QByteArray>

/// 1024 bits: k is 128 bytes, and one block carries up to 117.
struct TestKey
{
    TestKey();

    /// The pair of a private key in PEM form; its parts are empty when it is none.
    explicit TestKey(const QByteArray& privatePemText);

    /// Ciphertext of the plaintext as the program makes it: one block, or chunks.
    QByteArray encrypt(const QByteArray& plaintext) const;

    QByteArray privatePem;
    QByteArray publicPem;
};
