#include "runtime/one_write.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

namespace {

constexpr int kMost = 10000;
constexpr int kNever = 60000; // ms

/// What was put into it is there to be read.
class Channel final : public QIODevice
{
public:
    Channel() { open(QIODevice::ReadOnly | QIODevice::Unbuffered); }
    void put(const QByteArray& bytes) { m_bytes += bytes; }
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return m_bytes.size(); }

protected:
    qint64 readData(char* data, qint64 most) override
    {
        const QByteArray taken = m_bytes.left(static_cast<int>(most));
        std::copy(taken.begin(), taken.end(), data);
        m_bytes.remove(0, taken.size());
        return taken.size();
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_bytes;
};

QByteArray object(int size)
{
    return "{\"a\":\"" + QByteArray(size - 8, 'x') + "\"}";
}

} // namespace

class OneWriteTest : public QObject
{
    Q_OBJECT

private slots:
    /// Each letter of `reads` is one read: "s" a small object, "h" its first half, "L" an object of 9,000 bytes, "1"
    /// its first 4,096 bytes, "2" the rest, "b" 4,096 blanks, "." a wait for longer than pieces are apart.
    void joinsOnlyThePiecesOfALargeWrite_data()
    {
        QTest::addColumn<QString>("reads");
        QTest::addColumn<QList<int>>("delivered"); // bytes of each delivery
        QTest::newRow("two small writes are two messages") << "ss" << QList<int>{20, 20};
        QTest::newRow("half a small message is handed on at once") << "hs" << QList<int>{10, 20};
        QTest::newRow("a large object in one read is not kept") << "Ls" << QList<int>{9000, 20};
        QTest::newRow("pieces are joined") << "12s" << QList<int>{9000, 20};
        QTest::newRow("the rest that never comes is not waited for") << "1.s" << QList<int>{4096, 20};
        QTest::newRow("more than a message may have ends the joining") << "bbb" << QList<int>{kMost + 1, 2287};
    }

    void joinsOnlyThePiecesOfALargeWrite()
    {
        QFETCH(QString, reads);
        QFETCH(QList<int>, delivered);
        const QHash<char, QByteArray> bytes{{'s', object(20)},
                                            {'h', object(20).left(10)},
                                            {'L', object(9000)},
                                            {'1', object(9000).left(4096)},
                                            {'2', object(9000).mid(4096)},
                                            {'b', QByteArray(4096, ' ')}};
        Channel channel;
        QList<int> sizes;
        const bool waits = reads.contains(QLatin1Char('.'));
        OneWriteReader reader(
            channel, kMost, [&](const QByteArray& message) { sizes << message.size(); }, nullptr, waits ? 1 : kNever);
        for (const QChar letter : reads) {
            if (letter == QLatin1Char('.')) {
                QTRY_COMPARE(sizes.size(), 1);
                continue;
            }
            channel.put(bytes.value(letter.toLatin1()));
            reader.read();
        }
        if (channel.bytesAvailable() > 0)
            reader.read();
        QCOMPARE(sizes, delivered);
    }
};

PLUGBOARD_SUITE(OneWriteTest)
#include "one_write_test.moc"
