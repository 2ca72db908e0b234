#include "emulation/securitykey/cbor.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

class CborTest : public QObject
{
    Q_OBJECT

private slots:
    void takesNothingButCanonical_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("taken");
        const auto row = [](const char* name, const char* hex, bool taken) {
            QTest::newRow(name) << QByteArray::fromHex(hex) << taken;
        };
        row("every kind that a request has", "a5 01 20 02 43 010203 03 62 c3a9 04 82 f4 f5 05 a1 61 61 1903e8", true);
        row("four levels", "a1 01 81 a1 01 a1 01 02", true);
        row("five levels", "a1 01 81 a1 01 81 a1 01 02", false);
        row("nothing", "", false);
        row("cut off", "a2 01 02 02 43 0102", false);
        row("something behind the value", "a1 01 02 00", false);
        row("keys out of order", "a2 02 01 01 01", false);
        row("a negative key before a positive one", "a2 20 01 01 01", false);
        row("a key twice", "a2 01 01 01 02", false);
        row("a number longer than it needs to be", "a1 01 1801", false);
        row("a length longer than it needs to be", "a1 01 5801aa", false);
        row("a text that is no UTF-8", "a1 01 61 ff", false);
        row("a text without a length", "a1 01 7f 61 61 ff", false);
        row("a map without a length", "bf 01 02 ff", false);
        row("a map as a key", "a1 a0 01", false);
        row("a floating-point number", "a1 01 f93c00", false);
        row("null", "a1 01 f6", false);
        row("a tag", "a1 01 c1 00", false);
        row("an array that claims to be endless", "9b ffffffffffffffff", false);
        row("a text that claims to be endless", "7b 7fffffffffffffff", false);
        row("the largest number", "a1 01 1b 7fffffffffffffff", true);
        row("the least number", "a1 01 3b 7fffffffffffffff", true);
        row("a number above 64 bits with a sign", "a1 01 1b ffffffffffffffff", false);
        row("a number below 64 bits with a sign", "a1 01 3b 8000000000000000", false); // the sanitizers' to see
        row("a number far below", "a1 01 3b ffffffffffffffff", false);
    }

    void takesNothingButCanonical()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, taken);
        const auto value = ctap::decodeCbor(bytes);
        QCOMPARE(value.has_value(), taken);
        if (value)
            QCOMPARE(ctap::encodeCbor(*value)->toHex(), bytes.toHex());
    }

    void ordersKeys()
    {
        const QCborMap map{{QStringLiteral("b"), 1}, {QStringLiteral("aa"), 2}, {-1, 3}, {24, 4}, {3, 5}};
        QCOMPARE(ctap::encodeCbor(map)->toHex(), QByteArray("a5 0305 181804 2003 616201 62616102").replace(' ', ""));
    }
};

PLUGBOARD_SUITE(CborTest)
#include "cbor_test.moc"
