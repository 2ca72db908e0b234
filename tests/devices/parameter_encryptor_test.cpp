#include "devices/parameter_encryptor.h"

#include "devices/device_launcher.h"
#include "emulation/message/message_decoder.h"
#include "tests/support/suite_registry.h"
#include "tests/support/test_key.h"

#include <QTemporaryFile>
#include <QtTest>

class ParameterEncryptorTest : public QObject
{
    Q_OBJECT

private slots:
    /// All that follows must hold though the machine's OpenSSL settings leave no algorithm: they must not even be read,
    /// because they could name code to load.
    void initTestCase()
    {
        QVERIFY(m_settings.open());
        m_settings.write("openssl_conf = start\n[start]\nproviders = providers\n[providers]\nnull = nothing\n"
                         "[nothing]\nactivate = 1\n");
        QVERIFY(m_settings.flush());
        qputenv("OPENSSL_CONF", QFile::encodeName(m_settings.fileName()));
        ParameterEncryptor first;
    }

    void framesAndDecrypts_data()
    {
        QTest::addColumn<int>("keySize");
        for (const int bits : {1024, 2048, 3072})
            QTest::addRow("%d-bit key", bits) << bits / 8;
    }

    void framesAndDecrypts()
    {
        QFETCH(int, keySize);
        const TestKey pair(static_cast<unsigned>(keySize) * 8);
        const DeviceKey deviceKey = deviceKeyFromPem(pair.privatePem).value();
        ParameterEncryptor encryptor;
        QVERIFY(encryptor.loadPublicKey(pair.publicPem));
        const int m = keySize - 11;
        QCOMPARE(encryptor.maximumBlockPlaintext(), m);

        // Plaintext sizes with the number of chunks, 0 for a bare block.
        for (const auto& [size, chunks] :
             {std::pair{0, 0}, {1, 0}, {m, 0}, {m + 1, 2}, {2 * m, 2}, {10 * m, 10}, {10 * m + 1, 11}}) {
            QString text;
            for (int i = 0; i < size; ++i)
                text += QChar(1 + i % 127); // line feeds among them
            const QByteArray message = parameterMessage(text, pair.publicPem).bytes;
            QVERIFY2(message.indexOf('\n') == message.size() - 1, message.constData());
            const QByteArray blob = QByteArray::fromBase64(message);
            QCOMPARE(blob.size(), chunks == 0 ? keySize : 4 + chunks * (4 + keySize));
            if (chunks > 0)
                QCOMPARE(blob.left(8),
                         QByteArray("\0\0\0", 3) + char(chunks) + QByteArray("\0\0", 2) + char(m >> 8) + char(m));
            const auto decoded = decodeMessage(message.chopped(1), deviceKey);
            QCOMPARE(decoded.fault(), QString());
            QCOMPARE(decoded.value(), text);
        }
        QVERIFY2(encryptor.encrypt("x") != encryptor.encrypt("x"), "the padding must be random");
        QCOMPARE(encryptor.lastError(), QString());
    }

    void refusesKeys_data()
    {
        QTest::addColumn<QByteArray>("pem");
        QTest::addColumn<QString>("loadError");
        QTest::addColumn<QString>("encryptError");
        const QString unreadable = QStringLiteral("Failed to read public key from PEM");
        const QString none = QStringLiteral("No public key available");
        const TestKey pair;
        QByteArray locked = pair.publicPem;
        locked.insert(locked.indexOf('\n') + 1,
                      "Proc-Type: 4,ENCRYPTED\nDEK-Info: AES-128-CBC,00112233445566778899AABBCCDDEEFF\n\n");

        QTest::newRow("nothing") << QByteArray() << unreadable << none;
        QTest::newRow("no PEM") << QByteArray("not a key") << unreadable << none;
        QTest::newRow("cut off") << pair.publicPem.left(100) << unreadable << none;
        QTest::newRow("the private half") << pair.privatePem << unreadable << none;
        QTest::newRow("locked by a passphrase, which nobody is asked for") << locked << unreadable << none;
        QTest::newRow("elliptic curve") << QByteArray(
                                               "-----BEGIN PUBLIC KEY-----\n"
                                               "MFkwEwYHKoZIzj0CAQYIKoZIzj0DAQcDQgAEGXER1Fttz+mZy2rKxI/T7YpJznva\n"
                                               "k6sduD2VpdahktDSiwyiQe7C07kU1PFNTao5NpFbrexy8tw5p7GGDJ4RQA==\n"
                                               "-----END PUBLIC KEY-----\n")
                                        << QStringLiteral("Key is not an RSA key") << none;
        QTest::newRow("64-bit modulus, which leaves no room for a byte")
            << QByteArray("-----BEGIN PUBLIC KEY-----\nMCQwDQYJKoZIhvcNAQEBBQADEwAwEAIJAMWj8rHX6QthAgMBAAE=\n"
                          "-----END PUBLIC KEY-----\n")
            << QString() << QStringLiteral("Failed to get RSA from public key");
    }

    void refusesKeys()
    {
        QFETCH(QByteArray, pem);
        ParameterEncryptor encryptor;
        QVERIFY(encryptor.loadPublicKey(TestKey().publicPem)); // must be forgotten
        QTEST(encryptor.loadPublicKey(pem) ? QString() : encryptor.lastError(), "loadError");
        QCOMPARE(encryptor.maximumBlockPlaintext(), 0);
        QCOMPARE(encryptor.encrypt("plain"), QByteArray());
        QTEST(encryptor.lastError(), "encryptError");
        const ParameterMessage message = parameterMessage(QStringLiteral("plain"), pem);
        QCOMPARE(message.bytes, QByteArray("\n"));
        QFETCH(QString, loadError);
        QCOMPARE(message.error, loadError.isEmpty() ? encryptor.lastError() : loadError);
    }

private:
    QTemporaryFile m_settings;
};

PLUGBOARD_SUITE(ParameterEncryptorTest)
#include "parameter_encryptor_test.moc"
