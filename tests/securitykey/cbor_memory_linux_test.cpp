#include "emulation/securitykey/cbor.h"
#include "tests/support/suite_registry.h"

#include <QFile>
#include <QtTest>

#include <sys/resource.h>
#include <unistd.h>

/// What a request claims to hold is not allocated before it is there.
class CborMemoryTest : public QObject
{
    Q_OBJECT

private slots:
    /// From here on the process gets little more memory than it has.
    void init()
    {
        constexpr rlim_t kRoom = 256 * 1024 * 1024; // bytes
        QFile pages(QStringLiteral("/proc/self/statm"));
        QVERIFY(pages.open(QIODevice::ReadOnly));
        const auto used = pages.readAll().split(' ').first().toULongLong() * rlim_t(::sysconf(_SC_PAGESIZE));
        ::getrlimit(RLIMIT_AS, &m_before);
        const rlimit limit{used + kRoom, m_before.rlim_max};
        QCOMPARE(::setrlimit(RLIMIT_AS, &limit), 0);
    }

    void cleanup() { ::setrlimit(RLIMIT_AS, &m_before); }

    void claimsTakeNoMemory_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const auto row = [](const char* name, const char* hex) { QTest::newRow(name) << QByteArray::fromHex(hex); };
        row("bytes", "5a 646f6406 29");
        row("a text", "7a 646f6406 29");
        row("bytes in a map", "a1 01 5a 646f6406 29");
        row("an array", "9a 646f6406 29");
        row("a map", "ba 646f6406 29 29");
    }

    void claimsTakeNoMemory()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!ctap::decodeCbor(bytes));
    }

private:
    rlimit m_before{};
};

PLUGBOARD_SUITE(CborMemoryTest)
#include "cbor_memory_linux_test.moc"
