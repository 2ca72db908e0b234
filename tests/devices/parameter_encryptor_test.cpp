#include "devices/parameter_encryptor.h"

#include "devices/device_launcher.h"
#include "tests/devices/rsa_key_pair.h"
#include "tests/support/suite_registry.h"

#include <QTemporaryFile>
#include <QtTest>

class ParameterEncryptorTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void framesAndDecrypts_data();
    void framesAndDecrypts();
    void refusesKeys_data();
    void refusesKeys();
    void failedLoadForgetsTheOldKey();
    void messageIsOneLine_data();
    void messageIsOneLine();

private:
    QTemporaryFile m_settings;
};

/// All that follows must hold though the machine's OpenSSL settings leave no algorithm: they must not even be read,
/// because they could name code to load.
void ParameterEncryptorTest::initTestCase()
{
    QVERIFY(m_settings.open());
    m_settings.write("openssl_conf = start\n[start]\nproviders = providers\n[providers]\nnull = nothing\n"
                     "[nothing]\nactivate = 1\n");
    QVERIFY(m_settings.flush());
    qputenv("OPENSSL_CONF", QFile::encodeName(m_settings.fileName()));
    ParameterEncryptor first;
}

void ParameterEncryptorTest::framesAndDecrypts_data()
{
    QTest::addColumn<int>("keySize");
    for (const int bits : {1024, 2048, 3072})
        QTest::addRow("%d-bit key", bits) << bits / 8;
}

void ParameterEncryptorTest::framesAndDecrypts()
{
    QFETCH(int, keySize);
    const RsaKeyPair pair = RsaKeyPair::make(static_cast<unsigned>(keySize) * 8);
    ParameterEncryptor encryptor;
    QVERIFY(encryptor.loadPublicKey(pair.publicPem()));
    const int m = keySize - 11;
    QCOMPARE(encryptor.maximumBlockPlaintext(), m);

    // Plaintext sizes with the number of chunks, 0 for a bare block.
    for (const auto& [size, chunks] :
         {std::pair{0, 0}, {1, 0}, {m, 0}, {m + 1, 2}, {2 * m, 2}, {10 * m, 10}, {10 * m + 1, 11}}) {
        QByteArray plaintext;
        for (int i = 0; i < size; ++i)
            plaintext += static_cast<char>(i * 7); // zeros among them
        const QByteArray blob = encryptor.encrypt(plaintext);
        QCOMPARE(blob.size(), chunks == 0 ? keySize : 4 + chunks * (4 + keySize));
        const QByteArray decrypted = pair.decryptBlob(blob);
        QVERIFY2(!decrypted.isNull(), qPrintable(QString::number(size)));
        QCOMPARE(decrypted, plaintext);
    }
    QCOMPARE(encryptor.lastError(), QString());
    QVERIFY2(encryptor.encrypt("x") != encryptor.encrypt("x"), "the padding must be random");
}

void ParameterEncryptorTest::refusesKeys_data()
{
    QTest::addColumn<QByteArray>("pem");
    QTest::addColumn<QString>("loadError");
    QTest::addColumn<QString>("encryptError");
    const QString unreadable = QStringLiteral("Failed to read public key from PEM");
    const QString none = QStringLiteral("No public key available");
    const RsaKeyPair pair = RsaKeyPair::make(1024);
    QByteArray locked = pair.publicPem();
    locked.insert(locked.indexOf('\n') + 1,
                  "Proc-Type: 4,ENCRYPTED\nDEK-Info: AES-128-CBC,00112233445566778899AABBCCDDEEFF\n\n");

    QTest::newRow("nothing") << QByteArray() << unreadable << none;
    QTest::newRow("no PEM") << QByteArray("not a key") << unreadable << none;
    QTest::newRow("cut off") << pair.publicPem().left(100) << unreadable << none;
    QTest::newRow("the private half") << pair.privatePem() << unreadable << none;
    QTest::newRow("locked by a passphrase, which nobody is asked for") << locked << unreadable << none;
    QTest::newRow("elliptic curve") << ecPublicPem() << QStringLiteral("Key is not an RSA key") << none;
    QTest::newRow("64-bit modulus, which leaves no room for a byte")
        << QByteArray("-----BEGIN PUBLIC KEY-----\nMCQwDQYJKoZIhvcNAQEBBQADEwAwEAIJAMWj8rHX6QthAgMBAAE=\n"
                      "-----END PUBLIC KEY-----\n")
        << QString() << QStringLiteral("Failed to get RSA from public key");
}

void ParameterEncryptorTest::refusesKeys()
{
    QFETCH(QByteArray, pem);
    ParameterEncryptor encryptor;
    QTEST(encryptor.loadPublicKey(pem) ? QString() : encryptor.lastError(), "loadError");
    QCOMPARE(encryptor.maximumBlockPlaintext(), 0);
    QCOMPARE(encryptor.encrypt("plain"), QByteArray());
    QTEST(encryptor.lastError(), "encryptError");
    QCOMPARE(parameterMessage(QStringLiteral("plain"), pem), QByteArray("\n"));
}

void ParameterEncryptorTest::failedLoadForgetsTheOldKey()
{
    ParameterEncryptor encryptor;
    QVERIFY(encryptor.loadPublicKey(RsaKeyPair::make(1024).publicPem()));
    QVERIFY(!encryptor.loadPublicKey("broken"));
    QCOMPARE(encryptor.encrypt("secret"), QByteArray());
}

void ParameterEncryptorTest::messageIsOneLine_data()
{
    QTest::addColumn<QString>("joined");
    QTest::newRow("empty") << QString();
    QTest::newRow("outside Latin") << QStringLiteral("1\n\u6444\u50cf\u5934 \U0001F3A5\nEND");
    QTest::newRow("chunked") << QString(3000, QLatin1Char('\n'));
}

void ParameterEncryptorTest::messageIsOneLine()
{
    QFETCH(QString, joined);
    const RsaKeyPair pair = RsaKeyPair::make(1024);
    QByteArray message = parameterMessage(joined, pair.publicPem());
    QCOMPARE(message.count('\n'), 1);
    QVERIFY(message.endsWith('\n'));
    message.chop(1);
    const auto blob = QByteArray::fromBase64Encoding(message, QByteArray::AbortOnBase64DecodingErrors);
    QVERIFY(blob);
    QCOMPARE(pair.decryptBlob(blob.decoded), joined.toUtf8());
}

PLUGBOARD_SUITE(ParameterEncryptorTest)
#include "parameter_encryptor_test.moc"
